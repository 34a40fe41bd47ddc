/*
 * What a crypto library for quorvanti exports.
 *
 * The engine performs no cryptography: it opens a crypto library at run time and calls the functions below by name.
 * A library exports those it can serve; the engine tests each before it calls it. Every function has C linkage and
 * the platform's default C calling convention and returns 0 or an SSF code (SSF_API_...).
 *
 * Rules for every function:
 *  - Lengths are byte counts without a terminator. Texts handed in need no terminator: their length counts.
 *  - Texts handed out carry a terminator behind their length.
 *  - What a function hands out belongs to the crypto library and goes back through the release function named beside
 *    it, or through SsfDELSsfOctetstring where none is named.
 *  - Out-parameters are set to null or 0 before anything can fail.
 *  - Null arguments never crash: SSF_API_INVALID_FUNCARGS.
 *  - Functions may be called from any thread. One handle is used by one thread at a time.
 */
#ifndef QUORVANTI_SSF_H
#define QUORVANTI_SSF_H

#include <stdint.h>

#ifdef _WIN32
#define QUORVANTI_SSF_EXPORT __declspec(dllexport)
#else
#define QUORVANTI_SSF_EXPORT __attribute__((visibility("default")))
#endif

/* Defined by a crypto library while it compiles this header; empty for those who only need the declarations. */
#ifdef QUORVANTI_SSF_IMPLEMENTATION
#define QUORVANTI_SSF_API QUORVANTI_SSF_EXPORT
#else
#define QUORVANTI_SSF_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* SSF codes. */
#define SSF_API_OK 0
#define SSF_API_NOSECTK 1
#define SSF_API_INVALID_FORMAT 2
#define SSF_API_NODATA 3
#define SSF_API_NOMEMORY 4
#define SSF_API_SIGNER_ERRORS 5
#define SSF_API_NORESULTLISTMEMORY 6
#define SSF_API_UNKNOWN_PAB 7
#define SSF_API_INVALID_PAB_PASSWORD 8
#define SSF_API_RECIPIENT_ERRORS 9
#define SSF_API_INVALID_MDALG 10
#define SSF_API_ENCODE_FAILED 11
#define SSF_API_DECODE_FAILED 12
#define SSF_API_UNKNOWN_SECTK_ERROR 13
#define SSF_API_SECTK_FUNCTION_NOT_AVAIL 16
#define SSF_API_INVALID_FUNCARGS 17
#define SSF_API_INTERNAL_BUG 18
#define SSF_API_INSECURE_MDALG 19
#define SSF_API_CERT_EXPIRED 20
#define SSF_API_PROFILE_LOCKED 21
#define SSF_API_UNKNOWN_SIGNER 22
#define SSF_API_UNKNOWN_PROFILE 23
#define SSF_API_INVALID_PROFILE 24
#define SSF_API_INVALID_PASSWORD 25
#define SSF_API_NOCERTIFICATE 26
#define SSF_API_SIGNER_NOT_OK 27
#define SSF_API_UNDEFINED_RESULT 28
#define SSF_API_BAD_NAME 29
#define SSF_API_ALG_MISMATCH 30
#define SSF_API_REVOCATION_CERT_REVOKED 31

typedef struct SsfCertificate SsfCertificate; /* opaque; released by SsfFreeCertificate */
typedef struct SsfProfile SsfProfile;         /* opaque; released by SsfCloseProfile */

/* One signer (or recipient). */
typedef struct SsfSigRcpSsfInfo {
    struct SsfSigRcpSsfInfo* next;
    char* id; /* who: "<implicit>" is the key store's own identity */
    int32_t idLength;
    char* profile; /* key store */
    int32_t profileLength;
    char* password;
    int32_t passwordLength;
    char* info; /* free text about the signer, terminated */
    int32_t infoLength;
    int32_t result;       /* SSF code of this signer alone */
    uint8_t* certificate; /* DER; null when there is none */
    int32_t certificateLength;
} SsfSigRcpSsfInfo;

typedef struct SsfSigRcpSsfInfoList {
    SsfSigRcpSsfInfo* first;
} SsfSigRcpSsfInfoList;

/* --- The library ------------------------------------------------------------------------------------------- */

/* Starts the library. Called once before anything else. */
QUORVANTI_SSF_API int32_t kavcr_init(void);
/* Stops it. Called only when the interface level of the version record is above 7. */
QUORVANTI_SSF_API int32_t kavcr_done(void);
/* Hands out the version record, which stays the library's: an int32_t interface level at byte 0, a uint32_t record size
   (at least 56 for the record to count) at byte 40, a const char* to the terminated version text at byte 56. */
QUORVANTI_SSF_API int32_t kavcr_get_version(const void** record);
QUORVANTI_SSF_API int32_t kavcr_set_property_int(const char* name, int32_t value);
QUORVANTI_SSF_API int32_t kavcr_get_property_int(const char* name, int32_t* value);
QUORVANTI_SSF_API int32_t SsfVersion(char** text, int32_t* textLength);
/* Sentences about the calling thread's last error. Null pairs are not asked for. */
QUORVANTI_SSF_API int32_t SsfSecTKLastErrorInfo(int32_t code, int32_t* hasInfo, char** text1, int32_t* text1Length,
                                                char** text2, int32_t* text2Length);
/* Releases what was handed out. `dataAddress` is the address of the pointer; pointer and length are cleared. */
QUORVANTI_SSF_API int32_t SsfDELSsfOctetstring(void* dataAddress, int32_t* length);

/* --- Signing and verifying ---------------------------------------------------------------------------------- */

QUORVANTI_SSF_API int32_t SsfEncode(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength,
                                    uint8_t** encoded, int32_t* encodedLength);
QUORVANTI_SSF_API int32_t SsfSign(const char* format, int32_t formatLength, const char* hash, int32_t hashLength,
                                  int32_t includeCertificate, int32_t detached, const uint8_t* encoded,
                                  int32_t encodedLength, SsfSigRcpSsfInfoList* signers, uint8_t** signature,
                                  int32_t* signatureLength);
QUORVANTI_SSF_API int32_t SsfVerify(const char* format, int32_t formatLength, int32_t detached,
                                    const uint8_t* signature, int32_t signatureLength, const uint8_t* encoded,
                                    int32_t encodedLength, const char* profile, int32_t profileLength,
                                    const char* password, int32_t passwordLength, SsfSigRcpSsfInfoList** signers,
                                    uint8_t** output, int32_t* outputLength);
QUORVANTI_SSF_API int32_t SsfVerifyEx(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength,
                                      const char* profile, int32_t profileLength, const char* keyType,
                                      int32_t keyTypeLength, const uint8_t* key, int32_t keyLength, const char* hash,
                                      int32_t hashLength, const uint8_t* signature, int32_t signatureLength,
                                      SsfSigRcpSsfInfoList** signers, uint8_t** output, int32_t* outputLength);
/* A new signer entry; released by SsfDELSigRcpSsfInfo unless a list took it over. */
QUORVANTI_SSF_API int32_t SsfNEWSigRcpSsfInfo(const char* id, int32_t idLength, const char* profile,
                                              int32_t profileLength, const char* password, int32_t passwordLength,
                                              SsfSigRcpSsfInfo** info);
/* Takes the entry over on success; makes the list when *list is null. */
QUORVANTI_SSF_API int32_t SsfINSSigRcpSsfInfo(SsfSigRcpSsfInfo* info, SsfSigRcpSsfInfoList** list);
QUORVANTI_SSF_API int32_t SsfDELSigRcpSsfInfo(SsfSigRcpSsfInfo** info);
QUORVANTI_SSF_API int32_t SsfDELSigRcpSsfInfoList(SsfSigRcpSsfInfoList** list);

/* --- Certificates and key stores ---------------------------------------------------------------------------- */

QUORVANTI_SSF_API int32_t SsfCertfromASN1(const uint8_t* der, int32_t derLength, SsfCertificate** certificate);
QUORVANTI_SSF_API int32_t SsfCerttoASN1(SsfCertificate* certificate, uint8_t** der, int32_t* derLength);
QUORVANTI_SSF_API int32_t SsfParseCertificate(SsfCertificate* certificate, const char* attribute,
                                              int32_t attributeLength, char** text, int32_t* textLength);
QUORVANTI_SSF_API int32_t SsfFreeCertificate(SsfCertificate** certificate);
/* DER, PEM or bare base64. */
QUORVANTI_SSF_API int32_t kavsecu_decode_cert(const uint8_t* content, int32_t contentLength,
                                              SsfCertificate** certificate);
QUORVANTI_SSF_API int32_t SsfCreateProfile(const char* profile, int32_t profileLength, const char* password,
                                           int32_t passwordLength);
QUORVANTI_SSF_API int32_t SsfOpenProfile(const char* profile, int32_t profileLength, const char* password,
                                         int32_t passwordLength, SsfProfile** handle);
/* Adds a trusted certificate. */
QUORVANTI_SSF_API int32_t SsfPutCertificate(SsfProfile* handle, SsfCertificate* certificate);
QUORVANTI_SSF_API int32_t SsfCloseProfile(SsfProfile** handle);
/* A key store in memory. The name is the library's until kav_delete_memory_PSE. */
QUORVANTI_SSF_API int32_t kav_create_memory_PSE(char** name);
QUORVANTI_SSF_API int32_t kav_load_memory_PSE(const char* name, const uint8_t* image, int32_t imageLength);
QUORVANTI_SSF_API int32_t kav_delete_memory_PSE(const char* name);

/* --- Hashes and keyed MACs (ids are the library's own) -------------------------------------------------------- */

QUORVANTI_SSF_API int32_t crypt_hashAlgorithm_Name2Id(const char* name, int32_t nameLength, int32_t* id);
QUORVANTI_SSF_API int32_t crypt_hashAlgorithm_Id2Name(int32_t id, const char** name); /* the name is static */
QUORVANTI_SSF_API int32_t crypt_hash_create(int32_t id, void** hash);
QUORVANTI_SSF_API int32_t crypt_hash_more(void* hash, const uint8_t* data, int32_t length);
QUORVANTI_SSF_API int32_t crypt_hash_getValue(void* hash, uint8_t* value, int32_t* length); /* in: room, out: used */
QUORVANTI_SSF_API int32_t crypt_hash_release(void** hash);
QUORVANTI_SSF_API int32_t crypt_hash_import(const uint8_t* blob, int32_t length, void** hash);
QUORVANTI_SSF_API int32_t crypt_hash_exportToBlob(void* hash, uint8_t** blob, int32_t* length);
QUORVANTI_SSF_API int32_t crypt_keyedmac_create(int32_t hashId, const uint8_t* key, int32_t keyLength, void** mac);
QUORVANTI_SSF_API int32_t crypt_keyedmac_more(void* mac, const uint8_t* data, int32_t length);
QUORVANTI_SSF_API int32_t crypt_keyedmac_getValue(void* mac, uint8_t* value, int32_t* length);
QUORVANTI_SSF_API int32_t crypt_keyedmac_reset(void* mac);
QUORVANTI_SSF_API int32_t crypt_keyedmac_release(void** mac);
QUORVANTI_SSF_API int32_t crypt_keyedmac_import(const uint8_t* blob, int32_t length, void** mac);
QUORVANTI_SSF_API int32_t crypt_keyedmac_exportToBlob(void* mac, uint8_t** blob, int32_t* length);

#ifdef __cplusplus
}
#endif

#endif

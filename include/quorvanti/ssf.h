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
 *  - Null arguments never crash: SSF_API_INVALID_FUNCARGS. A password may be null with length 0: none. Pairs that may
 *    be null besides are named.
 *  - SSF_API_NOMEMORY when memory runs out, for a list of signers SSF_API_NORESULTLISTMEMORY; no exception leaves a
 *    function.
 *  - What is handed in is read during the call only, unless a function says that it takes it over.
 *  - Functions may be called from any thread. One handle is used by one thread at a time; the engine calls one function
 *    at a time.
 *  - A profile is a key store: the path of a file, or the name that kav_create_memory_PSE handed out.
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

/* Starts the library. Called once before anything else but kavcr_set_property_int; any other code than 0 means that the
   library cannot be used. */
QUORVANTI_SSF_API int32_t kavcr_init(void);
/* Stops it. Called only when the interface level of the version record is above 7. */
QUORVANTI_SSF_API int32_t kavcr_done(void);
/* Hands out the version record, which stays the library's: an int32_t interface level at byte 0, a uint32_t record size
   (at least 56 for the record to count) at byte 40, a const char* to the terminated version text at byte 56. */
QUORVANTI_SSF_API int32_t kavcr_get_version(const void** record);
/* Numbers by name, a terminated text. The engine knows "FIPS_140_2_CRYPTO_KERNEL_ACTIVE" (1: in FIPS 140-2 mode), which
   it sets to 0 before the start and asks for behind it. A name or value that the library cannot
   serve: SSF_API_SECTK_FUNCTION_NOT_AVAIL. */
QUORVANTI_SSF_API int32_t kavcr_set_property_int(const char* name, int32_t value);
QUORVANTI_SSF_API int32_t kavcr_get_property_int(const char* name, int32_t* value);
/* Name and version of the library in one line; asked for when there is no version record. */
QUORVANTI_SSF_API int32_t SsfVersion(char** text, int32_t* textLength);
/* Sentences about the calling thread's last error, for the trace. code: what the failed call returned, or -1; hasInfo:
   not 0 when there is a sentence. Of the two texts the second is preferred; at most 4095 bytes of it are shown. A null
   pair is not asked for. */
QUORVANTI_SSF_API int32_t SsfSecTKLastErrorInfo(int32_t code, int32_t* hasInfo, char** text1, int32_t* text1Length,
                                                char** text2, int32_t* text2Length);
/* Releases what was handed out. `dataAddress` is the address of the pointer; pointer and length are cleared. */
QUORVANTI_SSF_API int32_t SsfDELSsfOctetstring(void* dataAddress, int32_t* length);

/* --- Signing and verifying ---------------------------------------------------------------------------------- */

/* Brings content into the form that SsfSign and SsfVerify take. format: "PKCS7", up to trailing blanks.
   SSF_API_INVALID_FORMAT for any other, SSF_API_NODATA without content. */
QUORVANTI_SSF_API int32_t SsfEncode(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength,
                                    uint8_t** encoded, int32_t* encodedLength);
/* Makes the signature of encoded content: a DER PKCS#7 SignedData without the content (detached: 1).
   hash                name such as "SHA256", any case; SSF_API_INVALID_MDALG, SSF_API_INSECURE_MDALG
   includeCertificate  1: the signature carries the signer's certificate
   signers             a list of one entry, whose profile signs; stays the caller's. The entry's result says what was
                       wrong with this signer; the function then returns SSF_API_SIGNER_ERRORS, or
                       SSF_API_UNKNOWN_PAB, SSF_API_INVALID_PAB_PASSWORD and SSF_API_INVALID_PROFILE for the key store
   SSF_API_INVALID_FORMAT, SSF_API_NODATA, SSF_API_ENCODE_FAILED. */
QUORVANTI_SSF_API int32_t SsfSign(const char* format, int32_t formatLength, const char* hash, int32_t hashLength,
                                  int32_t includeCertificate, int32_t detached, const uint8_t* encoded,
                                  int32_t encodedLength, SsfSigRcpSsfInfoList* signers, uint8_t** signature,
                                  int32_t* signatureLength);
/* Verifies the signature of encoded content that is given separately (detached: 1) against the key store `profile`.
   signers  a list of one entry, also after a refusal when the signer is known: its certificate, and its own result.
            Goes back through SsfDELSigRcpSsfInfoList
   output   null; there for signatures that carry their content
   0 when the signature is good and its signer trusted. SSF_API_SIGNER_ERRORS when the entry says why not (untrusted
   SSF_API_UNKNOWN_SIGNER, expired SSF_API_CERT_EXPIRED, wrong SSF_API_SIGNER_NOT_OK and others); SSF_API_DECODE_FAILED,
   SSF_API_INVALID_MDALG, SSF_API_INSECURE_MDALG, SSF_API_INVALID_FORMAT, SSF_API_NODATA, SSF_API_UNKNOWN_PROFILE,
   SSF_API_INVALID_PROFILE, SSF_API_INVALID_PASSWORD without an entry. */
QUORVANTI_SSF_API int32_t SsfVerify(const char* format, int32_t formatLength, int32_t detached,
                                    const uint8_t* signature, int32_t signatureLength, const uint8_t* encoded,
                                    int32_t encodedLength, const char* profile, int32_t profileLength,
                                    const char* password, int32_t passwordLength, SsfSigRcpSsfInfoList** signers,
                                    uint8_t** output, int32_t* outputLength);
/* Verifies a bare RSA signature with a key that comes along.
   format   "PKCS1-V1.5"
   profile  "<no_certificate_check>": whether a certificate is to be believed is the caller's matter
   keyType  "x509v3": key is a certificate; "RAWPUBKEY": key is a SubjectPublicKeyInfo or RSAPublicKey; DER or PEM
   hash     as for SsfSign
   signers and output stay null where there is nothing to say. 0 when the signature is good; SSF_API_SIGNER_ERRORS when
   it is not; SSF_API_DECODE_FAILED, SSF_API_ALG_MISMATCH for the key; SSF_API_INVALID_FORMAT, SSF_API_NODATA. */
QUORVANTI_SSF_API int32_t SsfVerifyEx(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength,
                                      const char* profile, int32_t profileLength, const char* keyType,
                                      int32_t keyTypeLength, const uint8_t* key, int32_t keyLength, const char* hash,
                                      int32_t hashLength, const uint8_t* signature, int32_t signatureLength,
                                      SsfSigRcpSsfInfoList** signers, uint8_t** output, int32_t* outputLength);
/* A new signer entry with copies of its texts; nothing is opened yet. id: "<implicit>" for the key store's own
   identity. Released by SsfDELSigRcpSsfInfo unless a list took it over. */
QUORVANTI_SSF_API int32_t SsfNEWSigRcpSsfInfo(const char* id, int32_t idLength, const char* profile,
                                              int32_t profileLength, const char* password, int32_t passwordLength,
                                              SsfSigRcpSsfInfo** info);
/* Takes the entry over on success; makes the list when *list is null. */
QUORVANTI_SSF_API int32_t SsfINSSigRcpSsfInfo(SsfSigRcpSsfInfo* info, SsfSigRcpSsfInfoList** list);
/* Release an entry, and a list with its entries; clear the pointer. A pointer that is null already is no error. */
QUORVANTI_SSF_API int32_t SsfDELSigRcpSsfInfo(SsfSigRcpSsfInfo** info);
QUORVANTI_SSF_API int32_t SsfDELSigRcpSsfInfoList(SsfSigRcpSsfInfoList** list);

/* --- Certificates and key stores ---------------------------------------------------------------------------- */

/* A certificate from DER, and its DER. SSF_API_DECODE_FAILED when the bytes are none. */
QUORVANTI_SSF_API int32_t SsfCertfromASN1(const uint8_t* der, int32_t derLength, SsfCertificate** certificate);
QUORVANTI_SSF_API int32_t SsfCerttoASN1(SsfCertificate* certificate, uint8_t** der, int32_t* derLength);
/* One attribute as text in UTF-8: "SUBJECT", "ISSUER", "SERIALNO", "SERIAL", "SUMMARY", "ALL" and what else the library
   knows; any other code than 0 when it does not. */
QUORVANTI_SSF_API int32_t SsfParseCertificate(SsfCertificate* certificate, const char* attribute,
                                              int32_t attributeLength, char** text, int32_t* textLength);
/* Releases a certificate and clears the pointer. */
QUORVANTI_SSF_API int32_t SsfFreeCertificate(SsfCertificate** certificate);
/* A certificate from DER, PEM or bare base64; the engine asks for it by name. SSF_API_DECODE_FAILED. */
QUORVANTI_SSF_API int32_t kavsecu_decode_cert(const uint8_t* content, int32_t contentLength,
                                              SsfCertificate** certificate);
/* Makes an empty key store of this name, one in memory when kav_create_memory_PSE made the name. A file that is there
   is left as it is: SSF_API_INVALID_PROFILE. */
QUORVANTI_SSF_API int32_t SsfCreateProfile(const char* profile, int32_t profileLength, const char* password,
                                           int32_t passwordLength);
/* Opens a key store to change it. SSF_API_UNKNOWN_PROFILE, SSF_API_INVALID_PROFILE, SSF_API_INVALID_PASSWORD. */
QUORVANTI_SSF_API int32_t SsfOpenProfile(const char* profile, int32_t profileLength, const char* password,
                                         int32_t passwordLength, SsfProfile** handle);
/* Adds a trusted certificate; a copy, the caller's stays his. SSF_API_SECTK_FUNCTION_NOT_AVAIL for a key store that can
   only be read, SSF_API_PROFILE_LOCKED when its file cannot be replaced. */
QUORVANTI_SSF_API int32_t SsfPutCertificate(SsfProfile* handle, SsfCertificate* certificate);
/* Writes what was added and closes; clears the pointer. */
QUORVANTI_SSF_API int32_t SsfCloseProfile(SsfProfile** handle);
/* A key store in memory: its name (terminated, the library's until kav_delete_memory_PSE), its content from the image
   of a key store file (SSF_API_INVALID_PROFILE when it is none), its end. Names are terminated; SSF_API_UNKNOWN_PROFILE
   for one that is not known. */
QUORVANTI_SSF_API int32_t kav_create_memory_PSE(char** name);
QUORVANTI_SSF_API int32_t kav_load_memory_PSE(const char* name, const uint8_t* image, int32_t imageLength);
QUORVANTI_SSF_API int32_t kav_delete_memory_PSE(const char* name);

/* --- Hashes and keyed MACs (ids are the library's own) -------------------------------------------------------- */

/* Name and id of a hash ("SHA256" and so on, any case). SSF_API_INVALID_MDALG for what is not known. */
QUORVANTI_SSF_API int32_t crypt_hashAlgorithm_Name2Id(const char* name, int32_t nameLength, int32_t* id);
QUORVANTI_SSF_API int32_t crypt_hashAlgorithm_Id2Name(int32_t id, const char** name); /* the name is static */
/* A hash, or a keyed MAC (HMAC) with a copy of its key: _create, _more as often as there is data, _getValue, _release.
   _getValue hands out the value of all data so far; more may follow. *length: room on entry, bytes of the value on
   return; SSF_API_INVALID_FUNCARGS when they do not fit. _reset begins anew with the same key. _exportToBlob writes the
   state down (SSF_API_SECTK_FUNCTION_NOT_AVAIL when it is too long; the bundled library keeps 1 MiB), _import goes on
   from there (SSF_API_DECODE_FAILED when the bytes are none); the blob of a keyed MAC holds its key and is a secret.
   _release clears the pointer. */
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

/*
 * The further names that the bundled crypto library exports: names, validity and serial numbers as text, decoding, key
 * stores and their passwords. The engine looks them up when it starts and notes in its trace which are missing; it
 * calls none of them. They are for programs that use the crypto library directly.
 *
 * The rules are those of ssf.h. Texts go back through aux_free_String.
 */
#ifndef QUORVANTI_SSF_KAVSECU_H
#define QUORVANTI_SSF_KAVSECU_H

#include "quorvanti/ssf.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct SsfDName SsfDName; /* opaque; released by aux_free_DName */

/* --- Distinguished names -------------------------------------------------------------------------------------- */

/* A name from its text: RFC 4514, most specific part first, UTF-8. SSF_API_BAD_NAME when it is none. */
QUORVANTI_SSF_API int32_t aux_Name2DName(const char* text, int32_t textLength, SsfDName** name);
/* The text of a name, in the same form. */
QUORVANTI_SSF_API int32_t aux_sprint_DName(const SsfDName* name, char** text, int32_t* textLength);
QUORVANTI_SSF_API int32_t aux_free_DName(SsfDName** name);

/* --- Certificates ----------------------------------------------------------------------------------------------- */

/* A certificate from DER; SSF_API_DECODE_FAILED when the bytes are none. */
QUORVANTI_SSF_API int32_t d_Certificate(const uint8_t* der, int32_t derLength, SsfCertificate** certificate);
QUORVANTI_SSF_API int32_t aux_free_Certificate(SsfCertificate** certificate);
/* "2026-01-31 23:59:59Z - 2028-01-31 23:59:59Z" */
QUORVANTI_SSF_API int32_t aux_sprint_Validity(const SsfCertificate* certificate, char** text, int32_t* textLength);
/* The serial number in decimal. */
QUORVANTI_SSF_API int32_t aux_sprint_Serialnumber(const SsfCertificate* certificate, char** text, int32_t* textLength);
/* Wipes and releases a text that one of these functions handed out; clears the pointer. */
QUORVANTI_SSF_API int32_t aux_free_String(char** text);

/* Says what an object is and what is in it, as lines of text: a certificate, a public key, a private key (its kind and
   size only), a certificate list, a PKCS#7 structure, a key store. DER, PEM or base64. SSF_API_DECODE_FAILED when it is
   none of these. */
QUORVANTI_SSF_API int32_t kavsecu_parseobject(const uint8_t* content, int32_t contentLength, char** text,
                                              int32_t* textLength);

/* --- Key stores --------------------------------------------------------------------------------------------------- */

/* Looks for a key store without opening it: SSF_API_OK when it is there, and whether it asks for a password;
   SSF_API_UNKNOWN_PROFILE when there is none. */
QUORVANTI_SSF_API int32_t kav_secin(const char* profile, int32_t profileLength, int32_t* needsPassword);
/* Tries a password: SSF_API_OK when it opens the key store. The opened key store stays ready, so that uses with the
   same password cost no reading; a use with another password, or none, is refused as before. */
QUORVANTI_SSF_API int32_t kav_seclogin(const char* profile, int32_t profileLength, const char* password,
                                       int32_t passwordLength);
/* Opens a key store; the handle is that of SsfOpenProfile. */
QUORVANTI_SSF_API int32_t sec_open(const char* profile, int32_t profileLength, const char* password,
                                   int32_t passwordLength, SsfProfile** handle);
QUORVANTI_SSF_API int32_t sec_close(SsfProfile** handle);
/* Changes the password of a PKCS#12 file. The file is replaced as a whole or not at all; private keys and certificates
   are kept as they are. SSF_API_INVALID_PASSWORD for the old one, SSF_API_SECTK_FUNCTION_NOT_AVAIL for any other key
   store, SSF_API_PROFILE_LOCKED when the file cannot be replaced. */
QUORVANTI_SSF_API int32_t sec_chpin(const char* profile, int32_t profileLength, const char* oldPassword,
                                    int32_t oldPasswordLength, const char* newPassword, int32_t newPasswordLength);

#ifdef __cplusplus
}
#endif

#endif

/*
 * quorvanti: accepts single-sign-on tickets that another system issued.
 *
 * Conventions of every function here:
 *  - C linkage, no exception leaves a function; the result is a return code (VORAK_...), 0 for success.
 *  - Any thread may call any function at any time, also beside each other; where more is to be said, the function says
 *    it. State is process-wide, from VorakInitialize to VorakShutdown. Calls into the crypto library wait for each
 *    other. No function keeps a lock when it returns.
 *  - Texts are NUL-terminated unless a length goes with them. Lengths and capacities count bytes.
 *  - A pair of buffer and capacity: on entry *capacity is the buffer's size, on return the used length without
 *    terminator. A buffer that is too small is emptied and *capacity holds the length needed. A text is terminated
 *    behind its length when there is room for it. A null buffer or capacity means that the output is not wanted, and
 *    neither of the two is touched.
 *  - What is handed in is read during the call only and stays the caller's. What is handed out is copied into the
 *    caller's memory; where a pointer into the library is handed out, the function says how long it lasts.
 *  - Where a call of the crypto library failed, the low 16 bits of a return code are this library's and the high 16
 *    bits are the crypto library's: VORAK_STANDARD_ERROR(code) and VORAK_SSF_ERROR(code).
 *  - Secrets handed in (passwords, keys) never appear in a return value or in the trace.
 */
#ifndef QUORVANTI_VORAKSSO_H
#define QUORVANTI_VORAKSSO_H

#include <stddef.h>
#include <stdint.h>

#ifdef _WIN32
#ifdef QUORVANTI_BUILD
#define QUORVANTI_API __declspec(dllexport)
#else
#define QUORVANTI_API __declspec(dllimport)
#endif
#else
#define QUORVANTI_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Return codes. */
#define VORAK_OK 0
#define VORAK_NO_USER 1               /* no user, or a user text that is too long */
#define VORAK_BUFFER_TOO_SMALL 3      /* an output buffer is too small, or a written ticket exceeds 4096 bytes */
#define VORAK_TICKET_EXPIRED 4        /* the signature is good, the validity has passed */
#define VORAK_MALFORMED 5             /* malformed ticket or creation time, refused token, no certificate given */
#define VORAK_USER_BUFFER_TOO_SMALL 6 /* the buffer for the user is too small */
#define VORAK_INVALID \
    9 /* bad argument or record, ticket text too long, not initialized, unknown property, conversion failure */
#define VORAK_NO_MEMORY 11               /* out of memory */
#define VORAK_CRYPTO_FUNCTION_MISSING 13 /* the crypto library lacks a function that is needed */
#define VORAK_CRYPTO_FAILED 14           /* an operation of the crypto library failed, or it could not be loaded */
#define VORAK_MISSING_ARGUMENT 15        /* missing argument or wrong record size */
#define VORAK_NO_CREATION_TIME 16        /* the ticket carries no creation time */
#define VORAK_NO_CERTIFICATE 17          /* no certificate of the signer, or an attribute that cannot be read */
#define VORAK_NO_SIGNER_LIST 20          /* the crypto library named no signer */
#define VORAK_NOT_FOR_US 23              /* recipient, system id, client or flags check failed */
#define VORAK_CLAIM_DIFFERS 24           /* a claim of a token differs from what was expected */
#define VORAK_NOT_BASE64 1281            /* the ticket text is not base64, or shorter than four characters */
#define VORAK_ENCODING_FAILED 1282       /* the ticket text could not be written */

#define VORAK_STANDARD_ERROR(code) ((code)&0xFFFF)
#define VORAK_SSF_ERROR(code) (((code) >> 16) & 0xFFFF)

/* --- Life of the library -------------------------------------------------------------------------------------- */

/*
 * Brings the library up: opens the trace that the environment asks for (KAV_EXT_TRC, KAV_EXT_TRL), loads the crypto
 * library and takes SSF_HASH and SSF_INCLUDE_CERT from the environment. An environment variable that is empty counts
 * as not set.
 *
 * cryptoLibrary  file name or path of the crypto library, up to 255 bytes. Null or empty: the environment variable
 *                SSF_LIB, else the default names ("libkavcrypto.so", then "libkavsecu.so"; on Windows "kavcrypto.dll",
 *                then "kavsecu.dll"), found beside this library unless the system's search path leads elsewhere
 *
 * 0   success, also when the library was initialized before (nothing is loaded again, cryptoLibrary is not looked at)
 * 9   the thread layer could not be started
 * 11  out of memory
 * 14  the crypto library could not be loaded, its start failed, or that of the token evaluation
 * After a failure a later call may try again.
 *
 * Threads: concurrent calls run one after the other; those that come second find the library initialized.
 */
QUORVANTI_API int32_t VorakInitialize(const char* cryptoLibrary);

/*
 * Takes the library down: closes the trace, wipes a loaded ticket key, unloads the crypto library. Properties keep
 * their values, the trace target aside. A later VorakInitialize begins anew.
 *
 * Always 0, also without a VorakInitialize before it; then it only ends the trace.
 *
 * Threads: waits for a call into the crypto library to end. A function that runs beside it ends with its result, or
 * fails (with 9 or 13, a token with 5) when it reaches the crypto library too late.
 */
QUORVANTI_API int32_t VorakShutdown(void);

/* The version of this interface, 15; before and after initialization. */
QUORVANTI_API int32_t VorakGetVersion(void);

/* --- Properties ------------------------------------------------------------------------------------------------ */

/*
 * Sets a property.
 *
 * name   one of those below, matched exactly
 * value  its new value. Null or an empty value restores the default, unless said otherwise. Values are not checked
 *        here, and one that is longer than its field is cut
 *
 *   KAV_EXT_TRC       trace target: a file name (up to 4095 bytes), or "stdout", "stderr", "tf" (the file that is open
 *                     already) while no file is the target: once one is, these three name files like any other value.
 *                     Null or an empty value stops the trace and closes its file
 *   KAV_EXT_TRL       trace level: "0" banner only, "1" errors, "2" warnings and steps, "3" everything; only the first
 *                     character counts, and any other is "1". Null or an empty value takes the level back to the
 *                     banner only
 *   KAV_OWN_SYSID     own system id (up to 8 bytes, default "SYS"), for assertion tickets addressed to us
 *   KAV_OWN_CLIENT    own client (up to 3 bytes, default "000"), for the same
 *   KAV_EXT_SYSID     system id that the recipient of a logon ticket is compared with (up to 8 bytes, default "EXT")
 *   KAV_EXT_CLIENT    client that the recipient of a logon ticket is compared with (up to 3 bytes, default "999")
 *   KAV_EXT_CODEPAGE  code page of texts handed out (4 characters, default "1100", ISO 8859-1; "4110" is UTF-8). With
 *                     UTF-16 and UTF-32 ("4102" to "4105", and "4100", "4101") a ticket's creation time grows beyond
 *                     its twelve bytes and every evaluation fails with 5
 *   SSF_LIB           crypto library for the next VorakInitialize (up to 4087 bytes); kept in the environment of the
 *                     process. Null changes nothing
 *   SSF_HASH          hash for signing (up to 19 bytes, default "SHA1")
 *   SSF_INCLUDE_CERT  "1", "true" or "yes" (any case): signatures carry the signer's certificate; all else: they do not
 *
 * 0   success
 * 9   null or unknown name, or the thread layer could not be started
 * 11  out of memory; nothing was set
 *
 * May be called before VorakInitialize. Threads: changes are made one after the other.
 */
QUORVANTI_API int32_t QuorvantiSetProperty(const char* name, const char* value);

/*
 * Reads a property.
 *
 * name  as above; null: the list of all names, separated by ";"
 *
 * The terminated text, or null for an unknown name, and for KAV_EXT_TRC and SSF_LIB when nothing is set. Several
 * properties are answered from the environment while they hold their default: KAV_OWN_SYSID and KAV_EXT_SYSID from
 * KAVSYSTEMNAME, KAV_OWN_CLIENT and KAV_EXT_CLIENT from KAVSYSTEMCLIENT, SSF_HASH from SSF_HASH; KAV_EXT_TRC and
 * KAV_EXT_TRL, while they are not set, from the variables of their names.
 *
 * The text belongs to the library (or the environment) and is valid until the property or the environment changes.
 * Threads: nothing holds the text still while it is read. Who sets a property that another thread is reading must keep
 * the two apart.
 */
QUORVANTI_API const char* QuorvantiGetProperty(const char* name);

/* --- Evaluating tickets ------------------------------------------------------------------------------------------ */

/*
 * What an evaluation hands out. Set struct_size and the pairs of buffer and capacity that are wanted; null the rest.
 * Capacities count bytes. All memory is the caller's; the reserved fields are not looked at.
 *
 * The record may be shorter than here, but must be longer than 120 bytes, when a program was compiled against an older
 * header: nothing behind struct_size is touched. The certificate counts from a struct_size of 145 on, every
 * other field when struct_size covers it whole.
 */
typedef struct TICKET_INFO {
    uint32_t struct_size; /* sizeof(TICKET_INFO) */
    uint32_t reserved1;
    char code_page[4]; /* of the texts handed out, such as "4110"; a leading zero byte: the property KAV_EXT_CODEPAGE */
    uint32_t reserved2;
    char* system_id; /* of the issuer */
    uint32_t* system_id_capacity;
    char* user;
    uint32_t* user_capacity;
    char* client; /* of the issuer */
    uint32_t* client_capacity;
    char* language;
    uint32_t* language_capacity;
    int64_t* creation_time; /* seconds since 1970 plus one day: the day of the month is counted from one */
    int32_t* validity;      /* seconds left */
    char* portal_user;      /* without its "portal:" */
    uint32_t* portal_user_capacity;
    char* auth_scheme;
    uint32_t* auth_scheme_capacity;
    uint8_t* certificate; /* of the signer, DER */
    uint32_t* certificate_capacity;
    uint32_t flags;           /* out: the ticket's first flag byte; 0 without flags */
    int32_t assertion_marker; /* out: 1 the recipient matched; 0 evaluated as a logon ticket and without the flag of an
                                 assertion ticket; -1 the evaluation failed; else as the caller set it */
} TICKET_INFO;

/*
 * Evaluates a logon ticket: signature, age and, where the ticket names one, recipient (against KAV_EXT_SYSID and
 * KAV_EXT_CLIENT).
 *
 * ticket       the ticket text, up to 4095 characters; required
 * profile      key store with the trusted issuers: a path of up to 132 bytes, what is behind them is not seen, and
 *              trailing blanks do not count. Null or empty: the key that VorakLoadTicketKey loaded, and its password
 * password     of the key store; null or empty: none
 * user, certificate, systemId, client with their lengths (buffer and capacity, in bytes): all eight are required.
 *              Texts come in UTF-8, whatever KAV_EXT_CODEPAGE says. What the ticket does not say is empty
 *
 * 0     valid
 * 3     the buffer for certificate, system id or client is too small
 * 4     the signature is good, the validity has passed
 * 5     malformed ticket or creation time
 * 6     the buffer for the user is too small
 * 9     missing argument, text too long, not initialized, or a text that cannot be converted to the code page
 * 11    out of memory
 * 13    the crypto library lacks a function
 * 14    an operation of the crypto library failed
 * 16    no creation time
 * 17    the crypto library named no certificate of the signer
 * 23    meant for somebody else
 * 1281  not base64, or shorter than four characters
 * When the signature was refused: 20 in the low half and the crypto library's code in the high half when it named no
 * signer; else the crypto library's overall code (such as 5: see the high half) in the low half and the signer's own in
 * the high half. Compare VORAK_STANDARD_ERROR and VORAK_SSF_ERROR.
 *
 * On failure every output is empty, but a capacity that was too small holds the length needed. With an argument missing
 * nothing is written.
 */
QUORVANTI_API int32_t VorakEvalLogonTicket(const char* ticket, const char* profile, const char* password, char* user,
                                           uint32_t* userLength, uint8_t* certificate, uint32_t* certificateLength,
                                           char* systemId, uint32_t* systemIdLength, char* client,
                                           uint32_t* clientLength);

/*
 * The same with the full record.
 *
 * ticket, profile, password       as above; a null ticket is 1281
 * certificate, certificateLength  a further buffer and capacity for the signer's certificate, or null
 * info                            the record; required. Texts come in its code page
 *
 * Codes as above; 3 for every buffer but the user's, and 9 also for a null record, for a struct_size that is no
 * record's (then nothing is written) and for a code page that is not known.
 */
QUORVANTI_API int32_t VorakEvalLogonTicketEx(const char* ticket, const char* profile, const char* password,
                                             uint8_t* certificate, uint32_t* certificateLength, TICKET_INFO* info);

/*
 * Evaluates an assertion ticket, which must be addressed to us.
 *
 * ticket, profile, password, info  as above
 * ownSystemId, ownClient           who we are: the first 8 and 3 bytes count, trailing blanks do not. Null takes the
 *                                  properties KAV_OWN_SYSID and KAV_OWN_CLIENT
 *
 * Codes as above; 23 also for a ticket without recipient, without the flag of an assertion ticket, and for an own
 * identity that is empty.
 */
QUORVANTI_API int32_t VorakEvalAssertionTicket(const char* ticket, const char* profile, const char* password,
                                               const char* ownSystemId, const char* ownClient, TICKET_INFO* info);

/*
 * Evaluates a logon ticket with the key that VorakLoadTicketKey loaded.
 *
 * ticket, ticketLength  the ticket text and its length in bytes, up to 4095; it needs no terminator
 * info                  the record; required
 *
 * Codes as those of VorakEvalLogonTicketEx.
 */
QUORVANTI_API int32_t VorakEvalTicket(const char* ticket, uint32_t ticketLength, TICKET_INFO* info);

/* --- Keys and certificates --------------------------------------------------------------------------------------- */

/* Types of a ticket key. */
#define VORAK_KEY_STORE 0               /* the image of a key store: PKCS#12 or PEM */
#define VORAK_KEY_CERTIFICATE 1         /* a certificate to trust: DER, PEM or bare base64 */
#define VORAK_KEY_HMAC 2                /* a key for token signatures, raw bytes */
#define VORAK_KEY_HMAC_BASE64 3         /* the same as base64 text; characters outside the alphabet are skipped */
#define VORAK_KEY_CERTIFICATE_QUIETLY 4 /* as 1; one that cannot be decoded leaves no trace line */

/*
 * Loads a key into memory, for the whole process, in place of the one loaded before. Evaluations and creations that
 * name no profile use it (types 0, 1 and 4), tokens without a key use its bytes (types 1 to 4). A load that fails
 * leaves no key at all, not the one before.
 *
 * content, contentLength  the key and its length in bytes; it is copied. An HMAC key of 8192 bytes or more, and base64
 *                         text of that length, loads as no key
 * password                of the key store, up to 511 characters, or null
 * reserved                not read
 *
 * 0 success; 9 not initialized, unknown type, or the key store cannot be loaded; 11 no key store could be made in
 * memory; 13 the crypto library lacks a function; 14 the certificate cannot be decoded or stored; 15 no content; or the
 * code with which the crypto library closed the key store.
 *
 * Threads: the key is replaced while no evaluation uses it; each evaluation sees the one or the other, whole.
 */
QUORVANTI_API int32_t VorakLoadTicketKey(const uint8_t* content, int32_t contentLength, const char* password,
                                         int32_t reserved, uint32_t keyType);

/*
 * One attribute of a certificate as text.
 *
 * certificate, certificateLength  DER, and its length in bytes
 * attribute                       a name that begins with SUBJECT, ISSUER, SERIALNO, SUMMARY or SERIAL, or any other
 *                                 that the crypto library knows (the bundled one: VALIDITY, FINGERPRINT, ALGID, ALL)
 * out, outLength                  buffer and its capacity in bytes, both required; on return the text's length, also
 *                                 when the buffer was too small. No terminator is written
 *
 * 0 success; 3 the buffer is too small, nothing is written to it; 5 missing argument; 9 not initialized; 11 out of
 * memory; 13 the crypto library lacks a function; 17 the certificate or the attribute cannot be read. On failure but 3
 * *outLength is 0.
 */
QUORVANTI_API int32_t VorakParseCertificate(const uint8_t* certificate, uint32_t certificateLength,
                                            const char* attribute, uint8_t* out, int32_t* outLength);

/* --- Issuing assertion tickets ------------------------------------------------------------------------------------ */

/*
 * What an assertion ticket says. A text is given when its pointer and its length are there and the length is not 0.
 * Texts are in code page codePage; user and language go into the ticket as they are.
 */
typedef struct AssertionContent {
    uint64_t structSize; /* sizeof(AssertionContent) */
    char codePage[4];    /* of the ticket; a leading zero byte: the property KAV_EXT_CODEPAGE */
    uint32_t reserved1;
    const char* recipientSysId; /* up to 8; required */
    const uint32_t* recipientSysIdLength;
    const char* user; /* up to 36; this or the portal user is required */
    const uint32_t* userLength;
    const char* recipientClient; /* up to 3; required */
    const uint32_t* recipientClientLength;
    const char* language; /* one character */
    const uint32_t* languageLength;
    const void* reserved2;
    const void* reserved3;
    const char* portalUser; /* up to 249 arrive; 250 to 256 are accepted and arrive empty */
    const uint32_t* portalUserLength;
    const char* authScheme; /* up to 256 */
    const uint32_t* authSchemeLength;
    uint64_t reserved4[3];
} AssertionContent;

/*
 * Creates an assertion ticket, valid for two minutes, for one user and one recipient. "+" of the text is written as
 * "!": the receiver turns it back before it evaluates the ticket.
 *
 * ownSystemId, ownClient  the issuer, up to 8 and 3 characters
 * profile, password       key store with the signing key (up to 131 characters are used) and its password. A null or
 *                         empty profile: the key that VorakLoadTicketKey loaded, if it is a key store
 * ticket, ticketLength    buffer and its capacity; on return the text's length. The buffer is cleared to its full
 *                         capacity; a text that fills it exactly gets no terminator
 * The hash is the property SSF_HASH; with SSF_INCLUDE_CERT the signature carries the signer's certificate.
 *
 * 0 success; 1 no user, or one that is too long; 3 the buffer is too small (*ticketLength stays), or a portal user or
 * scheme is too long; 9 not initialized, language too long, or the signature failed (see the high half); 11 out of
 * memory; 13 the crypto library lacks a function; 14 it failed; 15 missing argument; 23 a system id or client is
 * missing or too long; -1 a text cannot be converted to UTF-8. Where a ticket could not be signed or written the first
 * byte of the buffer and the length are 0; every other failure, that of a buffer that is too small among them, writes
 * nothing.
 */
QUORVANTI_API int32_t VorakCreateAssertionTicket(const char* ownSystemId, const char* ownClient, const char* profile,
                                                 const char* password, const AssertionContent* content, char* ticket,
                                                 uint32_t* ticketLength);

/* --- Ticket handles ------------------------------------------------------------------------------------------------
 */

/*
 * A ticket that is taken apart step by step: new_TICKET, TcktSetTicket, TcktVerify, the getters, release_TICKET. A
 * handle belongs to one caller at a time; different handles may be used by different threads at once. Functions that
 * are given no handle answer 0, null or -1.
 */
typedef struct TICKET TICKET;

typedef struct TicketBlock {
    const uint8_t* data;
    uint32_t length;
} TicketBlock;

typedef struct TicketUnit {
    uint8_t id;
    TicketBlock block;
} TicketUnit;

/* As VorakInitialize, codes and threads too. */
QUORVANTI_API int32_t TcktInitialize(const char* cryptoLibrary);
/*
 * Names the key store that TcktVerify verifies against (without a password), then as VorakInitialize. A null key store
 * clears the name. A name of 4096 bytes or more is refused with 9 rather than cut, and nothing is changed. Loading a
 * ticket key replaces the name, VorakShutdown and TcktShutdown clear it.
 *
 * Codes as VorakInitialize.
 */
QUORVANTI_API int32_t TcktInitializeEx(const char* cryptoLibrary, const char* keyStore);
/* As VorakShutdown. */
QUORVANTI_API int32_t TcktShutdown(void);

/*
 * A handle of kind 1 or 2 (no behaviour depends on which), to be given to release_TICKET; null for any other kind or
 * when memory runs out. Needs no initialization.
 */
QUORVANTI_API TICKET* new_TICKET(int32_t kind);
/* Releases the handle and everything it handed out, and clears the reference. Null, or a null handle, does nothing. */
QUORVANTI_API void release_TICKET(TICKET** ticket);

/*
 * Decodes and takes apart a ticket text: 1, or 0 with the last error set (3 a foreign character, 5 malformed, 11 out of
 * memory); then nothing of an earlier ticket is left. The first 100 units are kept. A null text is 0 and changes
 * nothing.
 */
QUORVANTI_API int32_t TcktSetTicket(TICKET* ticket, const char* text);
/*
 * 1 when the signature is good and the ticket has not expired. 0 with the last error set: 4 expired, 5 not parsed or
 * not genuine, 12 not in the state after TcktSetTicket (a handle is verified once).
 */
QUORVANTI_API int32_t TcktVerify(TICKET* ticket);

/*
 * The blocks that the getters hand out lie inside the handle: valid until TcktSetTicket or release_TICKET; that of
 * TcktGetUser until its next call as well. Texts are in the ticket's code page and not terminated. The getters need no
 * TcktVerify before them, but what a handle says is to be trusted only after it.
 */
/* The first unit with the id in ticket order, or null. */
QUORVANTI_API const TicketUnit* TcktGetInfoUnit(TICKET* ticket, uint8_t id);
/*
 * The user. application "KAV" (any case): the ticket's user. Any other, and "portal" for null: what follows this prefix
 * and one separator in the first portal unit (0x20 to 0x3F) that begins with it; when none does, the last portal unit
 * whole. Null when there is none.
 */
QUORVANTI_API const TicketBlock* TcktGetUser(TICKET* ticket, const char* application);
/* The name of the authentication scheme, or null. */
QUORVANTI_API const TicketBlock* TcktGetAuthScheme(TICKET* ticket);
/* Seconds left; or -1, with the last error: 4 expired or without a creation time, 5 without hours and minutes, or one
 * of the three malformed. */
QUORVANTI_API int32_t TcktGetValidity(TICKET* ticket);
/* The last error; 0 without one and for no handle. */
QUORVANTI_API uint32_t TcktGetLastError(TICKET* ticket);

/* --- JSON Web Tokens --------------------------------------------------------------------------------------------- */

/*
 * What an evaluation of a token takes and hands out. Clear the record, then set structSize, payload, payloadLength and
 * what is expected. The claims are both: a pointer with a length that is not 0 is what the token must say; any other is
 * filled with what it says. Set them anew for every token.
 *
 * What is handed out points into the caller's payload buffer and is valid as long as that. A claim that the token does
 * not have is null with length 0, and so is every claim when the payload did not fit. Claims are the token's own
 * spelling: a string without its quotation marks, its escapes as they are; any other value as it is written.
 */
typedef struct JwtResult {
    uint64_t structSize;    /* sizeof(JwtResult) */
    char* payload;          /* out: the payload, JSON; terminated when there is room for it */
    uint64_t payloadLength; /* in: size of the buffer; out: length of the payload, 0 when it did not fit */
    char errorText[512];    /* out: why the token was refused, terminated; empty after success */
    const char* nameId;     /* out: the claim named by nameIdClaim */
    uint64_t nameIdLength;
    const char* subject; /* in, out: "sub" */
    uint64_t subjectLength;
    const char* issuer; /* in, out: "iss" */
    uint64_t issuerLength;
    const char* jsonId; /* in, out: "jti" */
    uint64_t jsonIdLength;
    /* in, out: "aud". Of an expected audience only the length is compared: a token whose "aud" is at least as long
       passes. Whoever relies on the audience leaves this null and compares what is handed out. */
    const char* audience;
    uint64_t audienceLength;
    int64_t issuedAt;   /* out: "iat", seconds since 1970; left as it was when the token has none, or 0 */
    uint32_t algorithm; /* out: 1 HS256, 2 HS384, 3 HS512, 4 RS256, 5 RS384, 6 RS512 */
} JwtResult;

/*
 * Evaluates a JSON Web Token (three base64url parts joined by "."): its signature (HS256, HS384, HS512, RS256, RS384,
 * RS512), its times and the expected claims.
 *
 * token, tokenLength  the token; base64url without padding, white space or bits left over
 * key, keyLength      the secret of an HMAC, or the issuer's RSA certificate or public key, DER or PEM. Null or length
 *                     0: the key that VorakLoadTicketKey loaded. A public key or a certificate is refused as the
 *                     secret of an HMAC
 * nameIdClaim         name of a further claim that must be there and is handed out; null or empty: none. Bytes from 128
 *                     on are read as '#'
 *
 * "exp" must be later than now and "nbf" earlier, to the second and without tolerance; both are read as whole seconds.
 * The header holds at most two names; "typ" is accepted behind "alg" only. Every token of the payload is looked at,
 * nested ones too: a claim that appears twice is refused wherever it stands.
 *
 * 0 accepted; 5 refused, errorText says why; 9 not initialized; 11 out of memory; 15 no token, no result, no payload
 * buffer, or a record that ends before errorText does. After a failure only errorText means anything.
 */
QUORVANTI_API int32_t VorakEvalJWToken(const char* token, uint64_t tokenLength, const uint8_t* key, uint64_t keyLength,
                                       const char* nameIdClaim, JwtResult* result);

#ifdef __cplusplus
}
#endif

/* The layout is fixed: x64, natural alignment. */
#if defined(__cplusplus)
#define QUORVANTI_STATIC_ASSERT static_assert
#else
#define QUORVANTI_STATIC_ASSERT _Static_assert
#endif
#define QUORVANTI_ASSERT_SIZE(type, size) QUORVANTI_STATIC_ASSERT(sizeof(type) == (size), #type " has changed its size")
#define QUORVANTI_ASSERT_LAYOUT(type, field, offset) \
    QUORVANTI_STATIC_ASSERT(offsetof(type, field) == (offset), #type "." #field " has moved")

QUORVANTI_ASSERT_SIZE(TICKET_INFO, 152);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, struct_size, 0);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, reserved1, 4);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, code_page, 8);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, reserved2, 12);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, system_id, 16);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, system_id_capacity, 24);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, user, 32);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, user_capacity, 40);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, client, 48);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, client_capacity, 56);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, language, 64);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, language_capacity, 72);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, creation_time, 80);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, validity, 88);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, portal_user, 96);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, portal_user_capacity, 104);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, auth_scheme, 112);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, auth_scheme_capacity, 120);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, certificate, 128);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, certificate_capacity, 136);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, flags, 144);
QUORVANTI_ASSERT_LAYOUT(TICKET_INFO, assertion_marker, 148);

QUORVANTI_ASSERT_SIZE(JwtResult, 632);
QUORVANTI_ASSERT_LAYOUT(JwtResult, structSize, 0);
QUORVANTI_ASSERT_LAYOUT(JwtResult, payload, 8);
QUORVANTI_ASSERT_LAYOUT(JwtResult, payloadLength, 16);
QUORVANTI_ASSERT_LAYOUT(JwtResult, errorText, 24);
QUORVANTI_ASSERT_LAYOUT(JwtResult, nameId, 536);
QUORVANTI_ASSERT_LAYOUT(JwtResult, nameIdLength, 544);
QUORVANTI_ASSERT_LAYOUT(JwtResult, subject, 552);
QUORVANTI_ASSERT_LAYOUT(JwtResult, subjectLength, 560);
QUORVANTI_ASSERT_LAYOUT(JwtResult, issuer, 568);
QUORVANTI_ASSERT_LAYOUT(JwtResult, issuerLength, 576);
QUORVANTI_ASSERT_LAYOUT(JwtResult, jsonId, 584);
QUORVANTI_ASSERT_LAYOUT(JwtResult, jsonIdLength, 592);
QUORVANTI_ASSERT_LAYOUT(JwtResult, audience, 600);
QUORVANTI_ASSERT_LAYOUT(JwtResult, audienceLength, 608);
QUORVANTI_ASSERT_LAYOUT(JwtResult, issuedAt, 616);
QUORVANTI_ASSERT_LAYOUT(JwtResult, algorithm, 624);

QUORVANTI_ASSERT_SIZE(AssertionContent, 152);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, structSize, 0);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, codePage, 8);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, reserved1, 12);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, recipientSysId, 16);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, recipientSysIdLength, 24);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, user, 32);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, userLength, 40);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, recipientClient, 48);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, recipientClientLength, 56);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, language, 64);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, languageLength, 72);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, reserved2, 80);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, reserved3, 88);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, portalUser, 96);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, portalUserLength, 104);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, authScheme, 112);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, authSchemeLength, 120);
QUORVANTI_ASSERT_LAYOUT(AssertionContent, reserved4, 128);

#endif

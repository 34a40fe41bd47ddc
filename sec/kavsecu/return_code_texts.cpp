#include "sec/kavsecu/return_code_texts.h"

#include "base/dptrc/dptrace.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <span>

namespace quorvanti {

namespace {

constexpr char kTraceUnit[] = "sec/kavsecu/secuload";

struct CodeText {
    std::int32_t code;
    const char* name;
    const char* text;
};

// The two tables disagree in places (14, 16, 27, 31, 34) and each lacks codes of the other. Both are kept so
// deliberately: operators know these lines and search for them.
// clang-format off
constexpr CodeText kTraceLines[] = {
    { 0, "SSF_API_OK",                             "Operation ok."},
    { 1, "SSF_API_NOSECTK",                        "No security toolkit found."},
    { 2, "SSF_API_INVALID_FORMAT",                 "Unknown wrapper format."},
    { 3, "SSF_API_NODATA",                         "Input data length zero."},
    { 4, "SSF_API_NOMEMORY",                       "Insufficient main memory."},
    { 5, "SSF_API_SIGNER_ERRORS",                  "Error during verify - signer error."},
    { 6, "SSF_API_NORESULTLISTMEMORY",             "No memory for result list."},
    { 7, "SSF_API_UNKNOWN_PAB",                    "Priv.Addr.Book (PSE file) not found."},
    { 8, "SSF_API_INVALID_PAB_PASSWORD",           "Invalid PAB (PSE file) password."},
    { 9, "SSF_API_RECIPIENT_ERRORS",               "Signature not valid / operation not okay for recipient."},
    {10, "SSF_API_INVALID_MDALG",                  "Unknown MD algorithm."},
    {11, "SSF_API_ENCODE_FAILED",                  "Could not encode output."},
    {12, "SSF_API_DECODE_FAILED",                  "Could not decode input."},
    {13, "SSF_API_UNKNOWN_SECTK_ERROR",            "Unknown security toolkit error."},
    {14, "SSF_API_SECTK_NO_ENCRYPTION",            "SSF lib does not support encryption."},
    {16, "SSF_API_SECTK_NO_ENCRYPTION",            "SSF lib does not support encryption."},
    {21, "SSF_API_PROFILE_LOCKED",                 "Security profile is locked."},
    {22, "SSF_API_UNKNOWN_SIGNER",                 "Unknown signer. Security profile does not contain the correct key."},
    {23, "SSF_API_UNKNOWN_PROFILE",                "Unable to find profile. Settings aren't correct."},
    {24, "SSF_API_INVALID_PROFILE",                "Found profile is invalid."},
    {25, "SSF_API_INVALID_PASSWORD",               "Invalid password for profile. Incorrect password or missing credentials."},
    {26, "SSF_API_NOCERTIFICATE",                  "Certificate not found."},
    {27, "SSF_API_RECIPIENT_NOT_OK",               "Operation not ok for recipient."},
    {28, "SSF_API_UNDEFINED_RESULT",               "No particular error message."},
    {31, "SSF_API_REVOCATION_CERTIFICATE_REVOKED", "Certificate is revoked."},
    {32, "SSF_API_REVOCATION_CHECK_FAILED",        "Revocation check failed (try again)."},
    {33, "SSF_API_REVOCATION_CHECK_ERROR",         "Revocation check error."},
    {34, "SSF_API_REVOCATION_CERTIFICATE_UNKNOWN", "Certificate is unknown."},
    {51, "SSF_AUX_NOMEMORY",                       "No more memory output data."},
    {52, "SSF_AUX_NOSIGRCPID",                     "Signer/recip. id is empty."},
    {53, "SSF_AUX_NOSIGRCPINFO",                   "Signer/recipient info empty."},
    {54, "SSF_AUX_NOSIGRCPINFOLIST",               "Sig./recip. info list empty."},
};

constexpr CodeText kDescriptions[] = {
    {  0, "SSF_API_OK",                                "Success"},
    {  1, "SSF_API_NOSECTK",                           "No Security Toolkit found"},
    {  2, "SSF_API_INVALID_FORMAT",                    "Specified Format is invalid or not supported"},
    {  3, "SSF_API_NODATA",                            "Input data (parameter) is missing (=zero length)"},
    {  4, "SSF_API_NOMEMORY",                          "Memory or resource allocation failed (out of memory?)"},
    {  5, "SSF_API_SIGNER_ERRORS",                     "A signing operation could not be performed or failed"},
    {  6, "SSF_API_NORESULTLISTMEMORY",                "Memory allocation for result list failed (out of memory)"},
    {  7, "SSF_API_UNKNOWN_PAB",                       "Private address book not found (PSE not found)"},
    {  8, "SSF_API_INVALID_PAB_PASSWORD",              "Wrong or missing password for private address book (PSE)"},
    {  9, "SSF_API_RECIPIENT_ERRORS",                  "An envelope operation for a recipient could not be performed or failed"},
    { 10, "SSF_API_INVALID_MDALG",                     "Specified Message Digest algorithm invalid or not supported"},
    { 11, "SSF_API_ENCODE_FAILED",                     "SsfEncode operation failed"},
    { 12, "SSF_API_DECODE_FAILED",                     "SsfDecode operation failed"},
    { 13, "SSF_API_UNKNOWN_SECTK_ERROR",               "Miscellaneous error reported from security toolkit"},
    { 16, "SSF_API_SECTK_FUNCTION_NOT_AVAIL",          "Security toolkit does not contain or provide requested API-function"},
    { 17, "SSF_API_INVALID_FUNCARGS",                  "Invalid function arguments supplied to SSF API call"},
    { 18, "SSF_API_INTERNAL_BUG",                      "Software error -- internal consistency check failed"},
    { 19, "SSF_API_INSECURE_MDALG",                    "MDALG is insecure and no longer supported for requested purpose"},
    { 20, "SSF_API_CERT_EXPIRED",                      "Signer/Recipient certificate is expired or not yet valid"},
    { 21, "SSF_API_PROFILE_LOCKED",                    "PSE is locked (SmartCard operation)"},
    { 22, "SSF_API_UNKNOWN_SIGNER",                    "Signer is not known or not trusted *OR* Recipient not found (in address book/PSE)"},
    { 23, "SSF_API_UNKNOWN_PROFILE",                   "Specified Profile (PSE) not found"},
    { 24, "SSF_API_INVALID_PROFILE",                   "Specified Profile (PSE) not usable / defective"},
    { 25, "SSF_API_INVALID_PASSWORD",                  "Wrong or missing password for Profile (PSE)"},
    { 26, "SSF_API_NOCERTIFICATE",                     "Certificate not found"},
    { 27, "SSF_API_SIGNER_NOT_OK",                     "Signature verification failed (for signer) or Envelope failed (for recipient)"},
    { 28, "SSF_API_UNDEFINED_RESULT",                  "This signer or recipient entry was not processed"},
    { 29, "SSF_API_BAD_NAME",                          "Supplied Name invalid (can not be parsed as distinguished name)"},
    { 30, "SSF_API_ALG_MISMATCH",                      "Algorithm mismatch between Certificate and signature (-format)"},
    { 31, "SSF_API_REVOCATION_CERT_REVOKED",           "A certificate in the path has been revoked"},
    { 32, "SSF_API_REVOCATION_CHECK_FAILED",           "Revocation check failed (try again)"},
    { 33, "SSF_API_REVOCATION_CHECK_ERROR",            "Revocation check error"},
    { 34, "SSF_API_REVOCATION_CERT_UNKNOWN",           "Certificate is unknown"},
    { 35, "SSF_API_REVOCATION_CERT_ON_HOLD",           "Certificate is on hold"},
    { 40, "SSF_API_BAD_CERT",                          "Malformed X.509 Certificate"},
    { 41, "SSF_API_BAD_CRLSIGNER_CERT",                "Bad CRL-Signer Certificate (invalid attributes)"},
    { 42, "SSF_API_BAD_CRL",                           "Malformed Certificate Revocation List (CRL)"},
    { 43, "SSF_API_NO_CRL_FOR_CERT",                   "No suitable CRL supplied for Certificate"},
    { 44, "SSF_API_CRL_OUTDATED",                      "CRL is outdated (CurrentTime>CRL.nextUpdate)"},
    { 45, "SSF_API_CRL_CRITICAL_ISSUINGDISTPOINT",     "CRL contains unsupported critical IssuingDistributionPoint extension"},
    { 46, "SSF_API_CRL_CRITICAL_EXTENSION",            "CRL contains unsupported critical extension"},
    { 49, "SSF_API_CRL_SIGNATURE_NOT_VERIFIED",        "Per caller request, CRL signature not verified"},
    { 51, "SSF_AUX_NOMEMORY",                          "Memory allocation failed for ssfaux function"},
    { 52, "SSF_AUX_NOSIGRCPID",                        "Signer/Recipient ID is empty or missing"},
    { 53, "SSF_AUX_NOSIGRCPINFO",                      "Signer/Recipient Info is empty or missing"},
    { 54, "SSF_AUX_NOSIGRCPINFOLIST",                  "Signer/Recipient Info List is empty or missing"},
    { 81, "SSF_API_CHAINBUILD_ERROR",                  "Error trying to build requested certificate chain"},
    { 82, "SSF_API_CHAINPARSE_ERROR",                  "Error trying to parse supplied certificate chain"},
    {201, "SSF_KRN_NOOP",                              "OPcode is currently a NOOP"},
    {202, "SSF_KRN_NOMEMORY",                          "Memory or resource allocation failed (out of memory?)"},
    {203, "SSF_KRN_OPINV",                             "Unrecognized SsfZoblService() OPcode"},
    {204, "SSF_KRN_NOSSFLIB",                          "SSF Toolkit not available"},
    {205, "SSF_KRN_SIGNER_LIST_ERROR",                 "Error during processing Signer List"},
    {206, "SSF_KRN_RECIPIENT_ERROR",                   "Error during processing of Recipient List"},
    {208, "SSF_KRN_INPUT_DATA_ERROR",                  "Error reading input data"},
    {209, "SSF_KRN_INVALID_PAR",                       "Missing function parameter"},
    {210, "SSF_KRN_INVALID_PARLEN",                    "Missing function parameter (length parameter)"},
    {256, "SSF_API_ERROR_DECODING_PKCS7",              "Decoding of PKCS#7 container failed"},
    {257, "SSF_API_ERROR_WRONG_PK",                    "No certificate with matching public key supplied for replacement"},
    {258, "SSF_API_ERROR_UPDATE_CERT",                 "Update of Certificate in PSE failed"},
    {259, "SSF_API_ERROR_UPDATE_PKROOT",               "Update of PKRoot in PSE failed"},
    {260, "SSF_API_ERROR_UPDATE_FCPATH",               "Update of FCPath in PSE failed"},
    {261, "SSF_API_ERROR_DECODING_X509",               "Decoding of X.509 certificate failed"},
    {262, "SSF_API_ERROR_DECODING_BASE64",             "Base64-decoding failed (bad characters?)"},
    {263, "SSF_API_ERROR_DECODING_PEM",                "Decoding of PEM/Base64 encoded data failed"},
    {264, "SSF_API_ERROR_VERIFY_CERT",                 "Verification of cert path failed"},
    {265, "SSF_API_ERROR_DECODING_INPUT",              "Decoding of input data failed"},
    {272, "SSF_API_ERROR_READING_INPUT",               "Reading of input (file) failed with an error"},
    {273, "SSF_API_ERROR_NO_RESOURCES",                "Resource allocation failed (out of memory?)"},
    {274, "SSF_API_ERROR_INCOMPLETE_CERT_PATH",        "Cert path is incomplete"},
    {288, "SSF_API_ERROR_CREATE_KEYVALUE",             "Unexpected Error trying to compose KeyValue parameter"},
    {289, "SSF_API_ERROR_UNSUPPORTED_KEYVALUE",        "Unrecognized KeyValue Format requested or supplied"},
    {290, "SSF_API_ERROR_PARSE_KEYVALUE",              "KeyValue parsing error (malformed,corrupted or truncated)"},
    {320, "SSF_API_ERROR_DECODING_TSTAMP_REQ",         "Decoding of RFC-3161 TimeStampRequest failed"},
    {321, "SSF_API_ERROR_DECODING_TSTAMP_RESP",        "Decoding of RFC-3161 TimeStampResponse failed"},
    {322, "SSF_API_ERROR_DECODING_TSTOKEN",            "Decoding of TimeStampToken failed"},
    {323, "SSF_API_ERROR_DECODING_TSTINFO",            "Decoding of TSTInfo in TimeStampToken failed"},
    {324, "SSF_API_MISSING_TSTOKEN",                   "No TimeStampToken contained in TimeStampResponse (or input data)"},
    {325, "SSF_API_BAD_TSTOKEN",                       "TimeStampToken is invalid/unacceptable"},
    {326, "SSF_API_BAD_TSTINFO",                       "TSTInfo in TimeStampToken is invalid/unacceptable"},
    {327, "SSF_API_WRONG_TSTAMP_RESP",                 "TimeStampResponse does not fit to PKCS7 (or to TimeStampReq)"},
    {328, "SSF_API_PKCS7_NO_SIGNEDDATA",               "Given PKCS7 does not contain SignedData"},
    {329, "SSF_API_PKCS7_BAD_SIGNEDDATA",              "PKCS7 contains malformed/invalid SignedData"},
    {330, "SSF_API_BAD_TSA_CERT",                      "TSA Certificate is not acceptable (not compliant to RFC-3161)"},
    {331, "SSF_API_SIGNER_CERT_EXPIRED_BEFORE_TSTAMP", "Signer Certificate expired before TimeStamp creation"},
    {332, "SSF_API_PKCS7_SD_BAD_SIGNERINFO",           "Invalid or missing SignerInfo in PKCS7 SignedData"},
    {333, "SSF_API_TSTAMP_FROM_THE_FUTURE",            "RFC3161 TimeStamp genTime is from the future -- clock skew?"},
    {334, "SSF_API_TSTAMP_ONLY_WITH_SINGLE_SIGNER",    "RFC3161 TimeStamp support limited to PKCS7 with one single signer"},
    {335, "SSF_API_PKCS7_WITHOUT_TSTAMP",              "supplied PKCS7 does not contain an RFC3161 TimeStamp"},
    {336, "SSF_API_TSTAMP_NOT_FRESH",                  "RFC3161 TimeStamp genTime is not \"fresh\" -- clock skew?"},
    {337, "SSF_API_TSTAMP_OUTSIDE_TSA_CERT_VALIDITY",  "RFC3161 TimeStamp genTime is outside of TSA Certificate validity"},
    {384, "SSF_API_INVALID_DNPREFIX_TYPE",             "API usage: unsupported dnPrefixType requested"},
    {385, "SSF_API_INVALID_UTF8_ENCODING",             "Invalid UTF8 encoding encountered in supplied DName"},
    {386, "SSF_API_ERROR_EMPTY_RDNSEQUENCE",           "Empty RDN sequence in DName (i.e. a sequence of two commas)"},
    {387, "SSF_API_ERROR_EMPTY_AVA",                   "Empty AttributeValueAssertion in DName"},
    {388, "SSF_API_ERROR_EMPTY_AVA_LABEL",             "Empty/missing attribute label in DName"},
    {389, "SSF_API_ERROR_EMPTY_AVA_VALUE",             "Empty/missing attribute value in DName"},
    {390, "SSF_API_ERROR_DECODING_OID",                "Could not decode OID of attribute label in DName"},
    {391, "SSF_API_ERROR_DECODING_NAME_ELEMENTS",      "Error decoding DName elements"},
    {392, "SSF_API_ERROR_DECODING_AVA_LABEL",          "Error decoding attribute label in DName"},
    {393, "SSF_API_ERROR_DECODING_AVA_VALUE",          "Error decoding attribute value in DName"},
    {394, "SSF_API_ERROR_DECODING_NAME_QUOTING",       "Decoding error -- unfinished quoting or unfinished escaping in DName"},
    {395, "SSF_API_ERROR_DECODING_ESC_SEQUENCE",       "invalid escape sequence in DName"},
    {396, "SSF_API_ERROR_DECODING_QUOTING",            "Decoding error -- invalid quoting in DName"},
    {397, "SSF_API_ERROR_UNRECOGNIZED_AVA_LABEL",      "Unrecognized AVA-Label in DName"},
    {398, "SSF_API_ERROR_DEFECTIVE_HEX_VALUE",         "Decoding error -- Invalid Hex constant ind DName"},
    {399, "SSF_API_ERROR_MISSING_ESCAPECHAR",          "Decoding error -- missing escape character in DName"},
    {400, "SSF_API_ERROR_UNICODE_NONBMP_CHAR",         "Unsupported Non-BMP Unicode character in DName"},
    {448, "SSF_API_INVALID_UTCTIME",                   "Invalid UTCTime encountered (supplied or during conversion)"},
    {449, "SSF_API_INVALID_CERTATTRS",                 "Unrecognized CertType/CertAttrs requested"},
    {450, "SSF_API_ERROR_NOT_ISSUING_X509V1",          "CA-signing X.509v1 certificates is not supported"},
    {451, "SSF_API_BAD_SUBJECTPK",                     "Invalid SubjectPK supplied in input (Cert of PKCS#10)"},
    {452, "SSF_API_CASIGN_FAILED",                     "Unexpected error during CA signing operation"},
};
// clang-format on

const CodeText* findCode(std::span<const CodeText> table, std::int32_t code) {
    const auto found =
        std::find_if(table.begin(), table.end(), [code](const CodeText& row) { return row.code == code; });
    return found == table.end() ? nullptr : &*found;
}

// A code without a row gets a line of its own only when the library will not be asked for a better one.
void traceLine(const char* context, std::int32_t code, bool libraryIsAsked) {
    if (const CodeText* const row = findCode(kTraceLines, code)) {
        TRACE_ERROR("%s %d :: %s :: %s\n", context, code, row->name, row->text);
    } else if (!libraryIsAsked) {
        TRACE_ERROR("%s %d :: unknown SSF error  :: no further, internal error occured in SSF.\n", context, code);
    }
}

const char* describe(std::int32_t code) {
    if (const char* const description = ssfCodeDescription(code)) {
        return description;
    }
    static char unknown[64];
    std::snprintf(unknown, sizeof unknown, "Unknown SSF-RC 0x%08x", static_cast<unsigned>(code));
    return unknown;
}

}  // namespace

const char* ssfCodeName(std::int32_t code) {
    const CodeText* const row = findCode(kDescriptions, code);
    return row == nullptr ? nullptr : row->name;
}

const char* ssfCodeDescription(std::int32_t code) {
    const CodeText* const row = findCode(kDescriptions, code);
    return row == nullptr ? nullptr : row->text;
}

void SsfTraceReturnCode(const char* context, std::int32_t code, SsfFunctionTable* table) {
    traceLine(context, code, table != nullptr);
    if (table == nullptr) {
        return;
    }
    const std::int32_t lookupCode = code > 0 ? code : -1;
    std::int32_t hasInfo = 0;
    char* texts[2] = {};
    std::int32_t lengths[2] = {};
    const std::int32_t result =
        SsfGetLastErrorInfo(*table, lookupCode, &hasInfo, &texts[0], &lengths[0], &texts[1], &lengths[1]);
    const std::unique_ptr<char[]> first(texts[0]);
    const std::unique_ptr<char[]> second(texts[1]);
    if (result != 0) {
        return;
    }
    if (lengths[1] > 0) {
        TRACE(2, "VORAKSSO2 ticket last error from SSF: %*.*s .\n", lengths[1], lengths[1], second.get());
    } else if (lengths[0] > 0) {
        TRACE(2, "VORAKSSO2 ticket last error from SSF: %*.*s .\n", lengths[0], lengths[0], first.get());
    } else {
        TRACE(2, "VORAKSSO2 ticket SSF error description: %s .\n", describe(lookupCode));
    }
}

}  // namespace quorvanti

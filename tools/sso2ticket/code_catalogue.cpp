#include "tools/sso2ticket/code_catalogue.h"

#include <quorvanti/voraksso.h>

#include <algorithm>

namespace quorvanti {

namespace {

using enum CodeKind;
using enum ExitCode;

// clang-format off
constexpr CodeEntry catalogue[] = {
    {plain,      -1, "conversion failure",            rejected,          "A text cannot be converted between the code pages.",
                                                                         "Check the ticket's code page and the one asked for."},
    {plain,       0, "VORAK_OK",                      accepted,          "The ticket is genuine and valid.",
                                                                         "Nothing."},
    {plain,       1, "VORAK_NO_USER",                 rejected,          "The ticket names no user, or a user that is too long.",
                                                                         "Ask the issuing system which user the ticket was made for."},
    {plain,       3, "VORAK_BUFFER_TOO_SMALL",        rejected,          "A field of the ticket is longer than the place for it.",
                                                                         "Look for the \"not sufficient\" line in a trace of level 1; it names the field."},
    {plain,       4, "VORAK_TICKET_EXPIRED",          rejected,          "The signature is good, but the ticket's validity has passed.",
                                                                         "Log on again. If fresh tickets expire, compare the clocks (UTC) of both systems and the validity set at the issuer."},
    {plain,       5, "VORAK_MALFORMED",               rejected,          "The decoded bytes are no ticket: cut off, without contents, without signature, or with a creation time that is none.",
                                                                         "Check that the whole text arrived: cookies and URLs cut and re-encode it. A trace of level 1 says where reading stopped."},
    {plain,       6, "VORAK_USER_BUFFER_TOO_SMALL",   rejected,          "The user is longer than the place for it.",
                                                                         "Ask the issuing system which user the ticket was made for."},
    {plain,       9, "VORAK_INVALID",                 rejected,          "The ticket could not be taken in: text over 4095 characters, a field over 256 bytes, or a code page that cannot be converted.",
                                                                         "Check the length of the text and the code page asked for; a trace of level 1 tells which it is."},
    {plain,      11, "VORAK_NO_MEMORY",               rejected,          "Out of memory; the ticket was not evaluated.",
                                                                         "Free memory and try again."},
    {plain,      13, "VORAK_CRYPTO_FUNCTION_MISSING", cryptoUnavailable, "The crypto library lacks a function that evaluation needs.",
                                                                         "Look in a trace of level 1 for the function's name, and use a crypto library that has it."},
    {plain,      14, "VORAK_CRYPTO_FAILED",           cryptoUnavailable, "The crypto library could not be loaded or started, or it failed at once.",
                                                                         "Check --crypto-library, SSF_LIB and where the file lies; a trace of level 1 has the system's reason."},
    {plain,      15, "VORAK_MISSING_ARGUMENT",        configuration,     "The library was called without an argument it needs.",
                                                                         "Check that program and library are of one version."},
    {plain,      16, "VORAK_NO_CREATION_TIME",        rejected,          "The ticket carries no creation time.",
                                                                         "The issuing system wrote an incomplete ticket: look there."},
    {plain,      17, "VORAK_NO_CERTIFICATE",          rejected,          "The signature was accepted, but nobody can say whose it is: the crypto library handed out no certificate.",
                                                                         "Import the issuer's certificate into the key store."},
    {plain,      20, "VORAK_NO_SIGNER_LIST",          rejected,          "The crypto library named no signer.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
    {plain,      23, "VORAK_NOT_FOR_US",              rejected,          "The ticket is meant for another system or client, or is not of the kind asked for.",
                                                                         "Compare --system-id and --client with the ticket's recipient in a trace of level 2; an assertion ticket needs --assertion."},
    {plain,      24, "VORAK_CLAIM_DIFFERS",           rejected,          "A claim of a token differs from what was expected.",
                                                                         "Compare the token's claims with what the caller expects."},
    {plain,    1281, "VORAK_NOT_BASE64",              rejected,          "The text is not base64: too short, or with a character that base64 does not have.",
                                                                         "Undo what the transport did to it: %2B is \"+\", %2F is \"/\", %3D is \"=\"; blanks and line breaks do not belong in it."},
    {plain,    1282, "VORAK_ENCODING_FAILED",         rejected,          "A ticket text could not be written.",
                                                                         "Shorten the ticket's fields."},

    {combined,    5, "SSF_API_SIGNER_ERRORS",         rejected,          "The signature was refused.",                             ""},
    {combined,    9, "VORAK_INVALID",                 configuration,     "Signing failed.",                                        ""},
    {combined,   14, "VORAK_CRYPTO_FAILED",           cryptoUnavailable, "The crypto library refused to work.",                    ""},
    {combined,   20, "VORAK_NO_SIGNER_LIST",          rejected,          "The signature could not be checked.",                    ""},

    {crypto,      1, "SSF_API_NOSECTK",               cryptoUnavailable, "The crypto library found no security toolkit.",
                                                                         "Check the installation of the crypto library."},
    {crypto,      2, "SSF_API_INVALID_FORMAT",        cryptoUnavailable, "The crypto library does not know PKCS#7.",
                                                                         "Use another crypto library."},
    {crypto,      3, "SSF_API_NODATA",                rejected,          "There was nothing to check a signature over.",
                                                                         "Check that the whole text arrived."},
    {crypto,      4, "SSF_API_NOMEMORY",              cryptoUnavailable, "The crypto library ran out of memory.",
                                                                         "Free memory and try again."},
    {crypto,      5, "SSF_API_SIGNER_ERRORS",         rejected,          "The signer's part of the signature is not in order.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
    {crypto,      6, "SSF_API_NORESULTLISTMEMORY",    cryptoUnavailable, "The crypto library ran out of memory for its results.",
                                                                         "Free memory and try again."},
    {crypto,      7, "SSF_API_UNKNOWN_PAB",           configuration,     "There is no such key store.",
                                                                         "Check the path given with --profile, and who may read it."},
    {crypto,      8, "SSF_API_INVALID_PAB_PASSWORD",  configuration,     "The key store's password is wrong or missing.",
                                                                         "Give it with --password-file, --password-env or --password-prompt."},
    {crypto,      9, "SSF_API_RECIPIENT_ERRORS",      rejected,          "An operation for a recipient failed.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
    {crypto,     10, "SSF_API_INVALID_MDALG",         rejected,          "The signature uses a hash that the crypto library does not know.",
                                                                         "Set the issuing system to SHA-256."},
    {crypto,     11, "SSF_API_ENCODE_FAILED",         rejected,          "The ticket's bytes could not be prepared for the check.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
    {crypto,     12, "SSF_API_DECODE_FAILED",         rejected,          "The signature is no well-formed PKCS#7 signature.",
                                                                         "Check that the text arrived unchanged. If it did, look at how the issuing system signs: DER, detached, one signer."},
    {crypto,     13, "SSF_API_UNKNOWN_SECTK_ERROR",   cryptoUnavailable, "The crypto library failed for a reason of its own.",
                                                                         "Look in a trace of level 1 for the crypto library's words."},
    {crypto,     14, "SSF_API_SECTK_NO_ENCRYPTION",   cryptoUnavailable, "The crypto library does not support encryption.",
                                                                         "Use another crypto library."},
    {crypto,     16, "SSF_API_SECTK_FUNCTION_NOT_AVAIL", cryptoUnavailable, "The crypto library does not have this function.",
                                                                         "Use another crypto library."},
    {crypto,     17, "SSF_API_INVALID_FUNCARGS",      cryptoUnavailable, "The crypto library did not accept its arguments.",
                                                                         "Check that library and crypto library belong together; a trace of level 3 shows the call."},
    {crypto,     18, "SSF_API_INTERNAL_BUG",          cryptoUnavailable, "The crypto library found an error in itself.",
                                                                         "Report it to the crypto library's maker with a trace of level 2."},
    {crypto,     19, "SSF_API_INSECURE_MDALG",        rejected,          "The signature uses a hash that is broken, such as MD5.",
                                                                         "Set the issuing system to SHA-256."},
    {crypto,     20, "SSF_API_CERT_EXPIRED",          rejected,          "The signer's certificate has expired or is not valid yet.",
                                                                         "Renew the issuing system's certificate and import the new one; check the clock here."},
    {crypto,     21, "SSF_API_PROFILE_LOCKED",        configuration,     "The key store is locked.",
                                                                         "Unlock it, or the card that holds it."},
    {crypto,     22, "SSF_API_UNKNOWN_SIGNER",        rejected,          "The signer is not known or not trusted here.",
                                                                         "If the ticket should be believed, import the issuing system's certificate into the key store given with --profile."},
    {crypto,     23, "SSF_API_UNKNOWN_PROFILE",       configuration,     "There is no such key store.",
                                                                         "Check the path given with --profile, and who may read it."},
    {crypto,     24, "SSF_API_INVALID_PROFILE",       configuration,     "The key store is no key store, is damaged, or is encrypted with a cipher that cannot be read here.",
                                                                         "Give a PKCS#12, PEM or DER file with the issuer's certificate; a trace of level 2 (--trace) says what is wrong with this one."},
    {crypto,     25, "SSF_API_INVALID_PASSWORD",      configuration,     "The key store's password is wrong or missing.",
                                                                         "Give it with --password-file, --password-env or --password-prompt."},
    {crypto,     26, "SSF_API_NOCERTIFICATE",         rejected,          "The signer's certificate was not found.",
                                                                         "Import the issuing system's certificate into the key store given with --profile."},
    {crypto,     27, "SSF_API_SIGNER_NOT_OK",         rejected,          "The signature does not fit the ticket: it was changed, or signed with another key.",
                                                                         "Check that the text arrived unchanged. If it did, refuse it: somebody tampers with tickets."},
    {crypto,     28, "SSF_API_UNDEFINED_RESULT",      rejected,          "The crypto library did not look at this signer.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
    {crypto,     29, "SSF_API_BAD_NAME",              rejected,          "A name in the signature is no distinguished name.",
                                                                         "Look at the issuing system's certificate."},
    {crypto,     30, "SSF_API_ALG_MISMATCH",          rejected,          "The signature's algorithm does not belong to the signer's key.",
                                                                         "Look at the issuing system's certificate and how it signs."},
    {crypto,     31, "SSF_API_REVOCATION_CERT_REVOKED", rejected,        "A certificate on the way to the signer has been revoked.",
                                                                         "Do not believe this issuer until it has a new certificate."},
    {crypto,     32, "SSF_API_REVOCATION_CHECK_FAILED", rejected,        "It could not be found out whether a certificate was revoked.",
                                                                         "Try again; check the way to the revocation service."},
    {crypto,     33, "SSF_API_REVOCATION_CHECK_ERROR", rejected,         "The check for revoked certificates failed.",
                                                                         "Check the settings of the revocation service."},
    {crypto,     34, "SSF_API_REVOCATION_CERTIFICATE_UNKNOWN", rejected, "The revocation service does not know the certificate.",
                                                                         "Look at the issuing system's certificate."},
    {crypto,     51, "SSF_AUX_NOMEMORY",              cryptoUnavailable, "The crypto library ran out of memory for its output.",
                                                                         "Free memory and try again."},
    {crypto,     52, "SSF_AUX_NOSIGRCPID",            rejected,          "A signer has no name.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
    {crypto,     53, "SSF_AUX_NOSIGRCPINFO",          rejected,          "A signer's entry is empty.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
    {crypto,     54, "SSF_AUX_NOSIGRCPINFOLIST",      rejected,          "The list of signers is empty.",
                                                                         "Look in a trace of level 1 for the crypto library's reason."},
};
// clang-format on

constexpr CodeEntry unknown = {plain,
                               0,
                               "unknown",
                               rejected,
                               "This code is not in the catalogue.",
                               "Look in a trace of level 2 for what happened before it."};

const CodeEntry& entryFor(CodeKind kind, std::int32_t code) {
    const CodeEntry* entry = findCode(kind, code);
    return entry != nullptr ? *entry : unknown;
}

}  // namespace

std::span<const CodeEntry> codeCatalogue() {
    return catalogue;
}

const CodeEntry* findCode(CodeKind kind, std::int32_t code) {
    const auto* const found = std::find_if(std::begin(catalogue), std::end(catalogue), [&](const CodeEntry& entry) {
        return entry.kind == kind && entry.code == code;
    });
    return found != std::end(catalogue) ? found : nullptr;
}

Explanation explain(std::int32_t returnCode) {
    if (returnCode < 0) {  // no combination: the crypto library's codes are small
        const CodeEntry& entry = entryFor(plain, returnCode);
        return {returnCode, returnCode, 0, entry.name, entry.meaning, entry.next, entry.exit};
    }
    const std::int32_t standard = VORAK_STANDARD_ERROR(returnCode);
    const std::int32_t ssf = VORAK_SSF_ERROR(returnCode);
    if (ssf == 0) {
        const CodeEntry& entry = entryFor(plain, standard);
        return {returnCode, standard, ssf, entry.name, entry.meaning, entry.next, entry.exit};
    }
    // The crypto library's code is the reason; the low half says what could not be done because of it. A low half that
    // is not listed is the crypto library's answer to the whole check.
    const CodeEntry& reason = entryFor(crypto, ssf);
    const CodeEntry* outer = findCode(combined, standard);
    const CodeEntry& what = outer != nullptr ? *outer : entryFor(crypto, standard);
    return {returnCode,
            standard,
            ssf,
            std::string(what.name) + " / " + reason.name,
            std::string(what.meaning) + " " + reason.meaning,
            reason.next,
            reason.exit};
}

}  // namespace quorvanti

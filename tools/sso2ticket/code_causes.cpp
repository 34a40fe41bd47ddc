#include "tools/sso2ticket/code_causes.h"

#include <algorithm>

namespace quorvanti {

namespace {

using enum CodeKind;

struct Causes {
    CodeKind kind;
    std::int32_t code;
    const char* text;
};

// clang-format off
constexpr Causes causes[] = {
    {plain,    -1, "A text of the ticket has a byte that its code page does not know, or a code page without a way to UTF-8."},
    {plain,     1, "The issuer wrote no user unit; an assertion ticket was to be created without user and portal user, or with a user over 36 bytes."},
    {plain,     3, "The caller's buffer was made for shorter texts, or UTF-8 made a text longer than it was at the issuer."},
    {plain,     4, "The ticket was kept longer than it lives; an assertion ticket lives two minutes; one of the clocks is wrong."},
    {plain,     5, "A cookie was cut at its limit; the text was copied without its end; the issuer writes another format; output in UTF-16 or UTF-32."},
    {plain,     6, "The caller's buffer was made for shorter users."},
    {plain,     9, "VorakInitialize was not called; struct_size was not set; the text has more than 4095 characters; the code page is misspelt."},
    {plain,    11, "The process has reached its memory limit."},
    {plain,    13, "SSF_LIB names an old crypto library, or a library that is none."},
    {plain,    14, "The crypto library was not installed beside the library; a library that it needs itself is missing; it is for another machine type."},
    {plain,    15, "A null pointer; AssertionContent without its structSize; an empty key."},
    {plain,    16, "The issuer wrote no creation time unit."},
    {plain,    17, "The signature carries no certificate and the key store has none for the signer; bytes that are no DER certificate; an attribute that the crypto library does not know."},
    {plain,    20, "A crypto library that does not say who signed."},
    {plain,    23, "The ticket was forwarded to a system it was not made for; the own system id or client is not set; a logon ticket where an assertion ticket is wanted."},
    {plain,    24, "The token was made for another audience or issuer."},
    {plain,  1281, "\"!\" of an assertion ticket was not turned back to \"+\"; %-escapes of a URL; blanks where \"+\" was; a line break; a text that is no ticket."},
    {plain,  1282, "An error inside the library."},

    {crypto,    2, "A crypto library for other formats."},
    {crypto,    5, "The signature or its signer was refused; the signer's own code says why."},
    {crypto,    7, "A misspelt path, a relative path from another directory, a service account that may not read the file."},
    {crypto,    8, "No password given, a new password on the key store, a line of blanks behind the password."},
    {crypto,   10, "The issuer signs with a hash that is too new or too rare."},
    {crypto,   12, "The signature was cut or is not DER; it holds several signers, or the signed content as well."},
    {crypto,   19, "The issuer still signs with MD2, MD4 or MD5."},
    {crypto,   20, "The issuer's certificate ran out; the clock here is wrong; a renewed certificate was installed at the issuer before its first day."},
    {crypto,   22, "The issuer's certificate was never imported, or was renewed at the issuer; the key store is that of another landscape."},
    {crypto,   23, "A misspelt path, a relative path from another directory, a service account that may not read the file."},
    {crypto,   24, "A file that is no key store, was cut in copying, or is encrypted with a cipher that cannot be read here."},
    {crypto,   25, "No password given, a new password on the key store, a line of blanks behind the password."},
    {crypto,   26, "The key store was made without the own certificate; only a key was imported."},
    {crypto,   27, "The ticket was changed on its way; the issuer has a new key under the same name; texts were re-encoded in transport."},
    {crypto,   30, "An issuer that says RSA and signs with ECDSA, or the like."},
    {crypto,   31, "The issuer's key is lost or stolen, or the certificate was replaced."},
};
// clang-format on

}  // namespace

const char* likelyCauses(CodeKind kind, std::int32_t code) {
    const auto* const found = std::find_if(std::begin(causes), std::end(causes), [&](const Causes& entry) {
        return entry.kind == kind && entry.code == code;
    });
    return found != std::end(causes) ? found->text : nullptr;
}

}  // namespace quorvanti

#include "providers/openssl/digest_names.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "providers/openssl/format.h"
#include "providers/openssl/last_error.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

constexpr std::size_t longestName = 20;

// clang-format off
constexpr struct { const char* name; Digest digest; } names[] = {
    { "MD2",     Digest::md2    },
    { "MD4",     Digest::md4    },
    { "MD5",     Digest::md5    },
    { "SHA",     Digest::sha1   },
    { "SHA1",    Digest::sha1   },
    { "SHA224",  Digest::sha224 },
    { "SHA256",  Digest::sha256 },
    { "SHA384",  Digest::sha384 },
    { "SHA512",  Digest::sha512 },
    { "SHA2224", Digest::sha224 },
    { "SHA2256", Digest::sha256 },
    { "SHA2384", Digest::sha384 },
    { "SHA2512", Digest::sha512 },
};
// clang-format on

std::string printable(std::string_view name) {
    std::string text(name.substr(0, longestName));
    std::ranges::replace_if(
        text, [](char character) { return character < ' ' || character > '~'; }, '?');
    return text;
}

}  // namespace

std::optional<Digest> digestByName(std::string_view name) {
    name = withoutTrailingBlanks(name);
    for (const auto& row : names) {
        if (name == row.name)
            return row.digest;
    }
    if (name.size() > longestName)
        return std::nullopt;
    std::string plain;
    for (const char character : name) {
        if (character != '-' && character != '_')
            plain.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(character))));
    }
    for (const auto& row : names) {
        if (plain == row.name)
            return row.digest;
    }
    return std::nullopt;
}

std::int32_t usableDigest(std::string_view name, Digest& digest) {
    const auto found = digestByName(name);
    if (!found)
        return fail(SSF_API_INVALID_MDALG, "The hash algorithm \"" + printable(name) +
                                               "\" is not known; known are SHA1, SHA224, SHA256, SHA384 and SHA512.");
    if (digestRefused(*found))
        return fail(SSF_API_INSECURE_MDALG, std::string("The hash algorithm ") + digestName(*found) +
                                                " is insecure and refused; SHA256 is a good choice.");
    digest = *found;
    return SSF_API_OK;
}

}  // namespace quorvanti::provider

#include "providers/openssl/signature_algorithms.h"

#include <algorithm>
#include <array>

namespace quorvanti::provider {
namespace {

struct SignatureRow {
    SignatureAlgorithm algorithm;
    std::size_t oidLength;
    std::array<std::uint8_t, 9> oid;
};

// RSA means PKCS#1 v1.5; RSASSA-PSS is not here. Two object identifiers of an older registry name SHA-1 once more, each
// behind the usual one.
// clang-format off
constexpr std::array signatureTable{
    SignatureRow{{KeyType::rsa, std::nullopt},   9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x01}},
    SignatureRow{{KeyType::rsa, Digest::md2},    9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x02}},
    SignatureRow{{KeyType::rsa, Digest::md4},    9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x03}},
    SignatureRow{{KeyType::rsa, Digest::md5},    9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x04}},
    SignatureRow{{KeyType::rsa, Digest::sha1},   9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x05}},
    SignatureRow{{KeyType::rsa, Digest::sha1},   5, {0x2b, 0x0e, 0x03, 0x02, 0x1d}},
    SignatureRow{{KeyType::rsa, Digest::sha224}, 9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0e}},
    SignatureRow{{KeyType::rsa, Digest::sha256}, 9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0b}},
    SignatureRow{{KeyType::rsa, Digest::sha384}, 9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0c}},
    SignatureRow{{KeyType::rsa, Digest::sha512}, 9, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0d}},
    SignatureRow{{KeyType::dsa, std::nullopt},   7, {0x2a, 0x86, 0x48, 0xce, 0x38, 0x04, 0x01}},
    SignatureRow{{KeyType::dsa, Digest::sha1},   7, {0x2a, 0x86, 0x48, 0xce, 0x38, 0x04, 0x03}},
    SignatureRow{{KeyType::dsa, Digest::sha1},   5, {0x2b, 0x0e, 0x03, 0x02, 0x1b}},
    SignatureRow{{KeyType::dsa, Digest::sha224}, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x03, 0x01}},
    SignatureRow{{KeyType::dsa, Digest::sha256}, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x03, 0x02}},
    SignatureRow{{KeyType::dsa, Digest::sha384}, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x03, 0x03}},
    SignatureRow{{KeyType::dsa, Digest::sha512}, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x03, 0x04}},
    SignatureRow{{KeyType::ec, Digest::sha1},    7, {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x04, 0x01}},
    SignatureRow{{KeyType::ec, Digest::sha224},  8, {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x04, 0x03, 0x01}},
    SignatureRow{{KeyType::ec, Digest::sha256},  8, {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x04, 0x03, 0x02}},
    SignatureRow{{KeyType::ec, Digest::sha384},  8, {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x04, 0x03, 0x03}},
    SignatureRow{{KeyType::ec, Digest::sha512},  8, {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x04, 0x03, 0x04}},
};
// clang-format on

}  // namespace

std::optional<SignatureAlgorithm> signatureAlgorithmByOid(Bytes oid) {
    for (const SignatureRow& row : signatureTable) {
        if (std::ranges::equal(oid, std::span(row.oid).first(row.oidLength)))
            return row.algorithm;
    }
    return std::nullopt;
}

Bytes oidOfSignature(KeyType keyType, std::optional<Digest> digest) {
    for (const SignatureRow& row : signatureTable) {
        if (row.algorithm.keyType == keyType && row.algorithm.digest == digest)
            return std::span(row.oid).first(row.oidLength);
    }
    return {};
}

std::string dottedOid(Bytes oid) {
    std::string text;
    std::uint64_t arc = 0;
    for (const std::uint8_t byte : oid) {
        if (arc >> 56 != 0)
            return "unknown";
        arc = (arc << 7) | (byte & 0x7fU);
        if ((byte & 0x80U) != 0)
            continue;
        if (text.empty()) {
            const std::uint64_t first = std::min<std::uint64_t>(arc / 40, 2);
            text = std::to_string(first);
            arc -= first * 40;
        }
        text += '.';
        text += std::to_string(arc);
        arc = 0;
    }
    return text;
}

}  // namespace quorvanti::provider

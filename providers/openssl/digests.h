// The digest algorithms that signatures name, as a table, and their implementations, fetched once.
#pragma once

#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace quorvanti::provider {

enum class Digest : std::uint8_t { md2, md4, md5, sha1, sha224, sha256, sha384, sha512 };

inline constexpr std::size_t digestCount = 8;
inline constexpr std::size_t longestDigest = 64;

struct DigestValue {
    std::array<std::uint8_t, longestDigest> bytes{};
    std::size_t size = 0;

    std::span<const std::uint8_t> view() const { return {bytes.data(), size}; }
};

const char* digestName(Digest digest);

// By the content of its OBJECT IDENTIFIER; none when it is not known here.
std::optional<Digest> digestByOid(std::span<const std::uint8_t> oid);

std::span<const std::uint8_t> digestOid(Digest digest);

// MD2, MD4 and MD5 are known, so that they can be refused by name.
bool digestRefused(Digest digest);

// Null when the toolkit does not offer it. The library keeps it.
const EVP_MD* digestMethod(Digest digest);

// False only when the toolkit fails. The second form digests `head` and `data` as one.
bool digestOf(Digest digest, std::span<const std::uint8_t> data, DigestValue& value);
bool digestOf(Digest digest, std::span<const std::uint8_t> head, std::span<const std::uint8_t> data,
              DigestValue& value);

}  // namespace quorvanti::provider

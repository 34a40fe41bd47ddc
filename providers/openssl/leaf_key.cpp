#include "providers/openssl/leaf_key.h"

#include <openssl/core_names.h>

#include <algorithm>
#include <array>
#include <bit>

namespace quorvanti::provider {
namespace {

constexpr std::array<std::uint8_t, 9> oidRsa{0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x01};
constexpr std::array<std::uint8_t, 7> oidEc{0x2a, 0x86, 0x48, 0xce, 0x3d, 0x02, 0x01};
constexpr std::array<std::uint8_t, 8> oidP256{0x2a, 0x86, 0x48, 0xce, 0x3d, 0x03, 0x01, 0x07};

constexpr std::size_t shortestModulus = 1024 / 8;
constexpr std::size_t longestModulus = 8192 / 8;
constexpr std::size_t longestExponent = 4;
constexpr std::size_t pointLength = 1 + 2 * 32;
constexpr std::uint8_t uncompressed = 0x04;

// An odd number above 1, without the zero that keeps it positive.
bool readOddNumber(DerReader& reader, Bytes& number) {
    if (!reader.read(tag::integer, number) || !isInteger(number) || number.front() >= 0x80)
        return false;
    if (number.front() == 0)
        number = number.subspan(1);
    return !number.empty() && (number.back() & 1) != 0 && (number.size() > 1 || number.back() > 1);
}

bool readRsaKey(DerReader& parameters, Bytes bits, LeafKey& key) {
    Bytes null;
    Bytes numbers;
    if (!parameters.read(tag::null, null) || !null.empty() || !parameters.atEnd() ||
        !readOnly(bits, tag::sequence, numbers))
        return false;
    DerReader reader(numbers);
    key.type = KeyType::rsa;
    return readOddNumber(reader, key.modulus) && readOddNumber(reader, key.exponent) && reader.atEnd() &&
           key.modulus.size() >= shortestModulus && key.modulus.size() <= longestModulus &&
           key.modulus.front() >= 0x80 && key.exponent.size() <= longestExponent;
}

bool readEcKey(DerReader& parameters, Bytes bits, LeafKey& key) {
    Bytes curve;
    key.type = KeyType::ec;
    key.point = bits;
    return parameters.read(tag::objectIdentifier, curve) && sameBytes(curve, oidP256) && parameters.atEnd() &&
           bits.size() == pointLength && bits.front() == uncompressed;
}

// Numbers go to the toolkit in the order of bytes of the machine.
template <std::size_t most>
OSSL_PARAM numberParameter(const char* name, Bytes number, std::array<std::uint8_t, most>& memory) {
    static_assert(std::endian::native == std::endian::little);
    std::ranges::reverse_copy(number, memory.begin());
    return OSSL_PARAM_construct_BN(name, memory.data(), number.size());
}

EvpPkeyPtr makeFrom(const char* type, OSSL_PARAM* parameters) {
    const EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_from_name(libraryContext(), type, nullptr));
    EVP_PKEY* made = nullptr;
    if (context == nullptr || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_PUBLIC_KEY, parameters) != 1)
        return nullptr;
    return EvpPkeyPtr(made);
}

}  // namespace

bool readLeafKey(Bytes subjectPublicKeyInfo, LeafKey& key) {
    DerReader reader(subjectPublicKeyInfo);
    Bytes algorithm;
    Bytes bits;
    Bytes type;
    if (!reader.read(tag::sequence, algorithm) || !reader.read(tag::bitString, bits) || !reader.atEnd() ||
        bits.empty() || bits.front() != 0)
        return false;
    bits = bits.subspan(1);  // behind the number of unused bits
    DerReader parameters(algorithm);
    if (!parameters.read(tag::objectIdentifier, type))
        return false;
    if (sameBytes(type, oidRsa))
        return readRsaKey(parameters, bits, key);
    return sameBytes(type, oidEc) && readEcKey(parameters, bits, key);
}

EvpPkeyPtr makeKey(const LeafKey& key) {
    if (key.type == KeyType::rsa) {
        std::array<std::uint8_t, longestModulus> modulus;
        std::array<std::uint8_t, longestExponent> exponent;
        std::array parameters{numberParameter(OSSL_PKEY_PARAM_RSA_N, key.modulus, modulus),
                              numberParameter(OSSL_PKEY_PARAM_RSA_E, key.exponent, exponent),
                              OSSL_PARAM_construct_end()};
        return makeFrom("RSA", parameters.data());
    }
    std::array<char, 11> curve{"prime256v1"};
    std::array<std::uint8_t, pointLength> point;
    std::ranges::copy(key.point, point.begin());
    std::array parameters{OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, curve.data(), 0),
                          OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()),
                          OSSL_PARAM_construct_end()};
    return makeFrom("EC", parameters.data());
}

}  // namespace quorvanti::provider

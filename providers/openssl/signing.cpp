#include "providers/openssl/signing.h"

#include <openssl/objects.h>
#include <openssl/rsa.h>

#include <array>
#include <ctime>
#include <optional>

#include "providers/openssl/der_writer.h"

namespace quorvanti::provider {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::array<std::uint8_t, 3> versionOne{der::integer, 1, 1};
constexpr std::array<std::uint8_t, 2> null{0x05, 0x00};

DerBytes digestAlgorithm(Digest digest) {
    return derElement(der::sequence, {derObjectIdentifier(EVP_MD_get_type(digestMethod(digest))), null});
}

// In the order of Digest; the first three are refused. The toolkit's own list of pairs does not have all of DSA.
// clang-format off
constexpr std::array<int, digestCount> dsaAlgorithms{
    NID_undef, NID_undef, NID_undef, NID_dsaWithSHA1,
    NID_dsa_with_SHA224, NID_dsa_with_SHA256, NID_dsa_with_SHA384, NID_dsa_with_SHA512};
constexpr std::array<int, digestCount> ecdsaAlgorithms{
    NID_undef, NID_undef, NID_undef, NID_ecdsa_with_SHA1,
    NID_ecdsa_with_SHA224, NID_ecdsa_with_SHA256, NID_ecdsa_with_SHA384, NID_ecdsa_with_SHA512};
// clang-format on

// RSA signatures name the key's algorithm alone, the way readers of every age know it; the others name the digest too.
std::optional<DerBytes> signatureAlgorithm(KeyType type, Digest digest) {
    if (type == KeyType::rsa)
        return derElement(der::sequence, {derObjectIdentifier(NID_rsaEncryption), null});
    const auto at = static_cast<std::size_t>(digest);
    const int nid = (type == KeyType::dsa ? dsaAlgorithms : ecdsaAlgorithms)[at];
    if (nid == NID_undef)
        return std::nullopt;
    return derElement(der::sequence, {derObjectIdentifier(nid)});
}

DerBytes attribute(int type, Bytes value) {
    return derElement(der::sequence, {derObjectIdentifier(type), derElement(der::set, {value})});
}

// UTCTime until 2049, GeneralizedTime from then on.
DerBytes timeValue(std::int64_t time) {
    const auto seconds = static_cast<std::time_t>(time);
    std::tm fields{};
    if (OPENSSL_gmtime(&seconds, &fields) == nullptr)
        return {};
    const bool utc = fields.tm_year >= 50 && fields.tm_year < 150;
    std::array<char, 32> text{};
    const std::size_t length =
        std::strftime(text.data(), text.size(), utc ? "%y%m%d%H%M%SZ" : "%Y%m%d%H%M%SZ", &fields);
    return derElement(utc ? der::utcTime : der::generalizedTime,
                      {Bytes(reinterpret_cast<const std::uint8_t*>(text.data()), length)});
}

DerBytes signedAttributes(Bytes contentDigest, std::int64_t time) {
    return derSetOf(der::set, {attribute(NID_pkcs9_contentType, derObjectIdentifier(NID_pkcs7_data)),
                               attribute(NID_pkcs9_signingTime, timeValue(time)),
                               attribute(NID_pkcs9_messageDigest, derElement(der::octetString, {contentDigest}))});
}

EvpPkeyCtxPtr prepare(EVP_PKEY* key, KeyType type, Digest digest) {
    EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_from_pkey(libraryContext(), key, nullptr));
    if (context == nullptr || EVP_PKEY_sign_init(context.get()) != 1 ||
        (type == KeyType::rsa && EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) != 1) ||
        EVP_PKEY_CTX_set_signature_md(context.get(), digestMethod(digest)) != 1)
        return nullptr;
    return context;
}

// The bare signature over a digest.
DerBytes signDigest(const KeyStore& store, Digest digest, Bytes hash) {
    const RandomUseGuard randomUse;
    EVP_PKEY* key = store.ownKey.get();
    EvpPkeyCtxPtr context = store.signing.take(digest);
    if (context == nullptr)
        context = prepare(key, store.own->key->type(), digest);
    DerBytes signature(static_cast<std::size_t>(EVP_PKEY_get_size(key)));
    std::size_t length = signature.size();
    if (context == nullptr || EVP_PKEY_sign(context.get(), signature.data(), &length, hash.data(), hash.size()) != 1)
        return {};
    store.signing.give(digest, std::move(context));
    signature.resize(length);
    return signature;
}

DerBytes signerInfo(const TrustedCertificate& own, const DerBytes& attributes, const DerBytes& digestId,
                    const DerBytes& algorithm, const DerBytes& signature) {
    const DerBytes issuerAndSerial = derElement(der::sequence, {own.issuer, derElement(der::integer, {own.serial})});
    // Signed as a SET, carried with the tag of its place.
    DerBytes tagged = attributes;
    tagged.front() = der::context0;
    return derElement(der::sequence, {versionOne, issuerAndSerial, digestId, tagged, algorithm,
                                      derElement(der::octetString, {signature})});
}

}  // namespace

std::vector<std::uint8_t> signContent(const KeyStore& store, std::span<const std::uint8_t> content,
                                      const SigningOptions& options) {
    const TrustedCertificate& own = *store.own;
    const KeyType type = own.key->type();
    DigestValue contentDigest;
    DigestValue attributesDigest;
    if (!digestOf(options.digest, content, contentDigest))
        return {};
    const DerBytes attributes = signedAttributes(contentDigest.view(), options.time);
    const auto algorithm = signatureAlgorithm(type, options.digest);
    if (!algorithm || !digestOf(options.digest, attributes, attributesDigest))
        return {};
    const DerBytes signature = signDigest(store, options.digest, attributesDigest.view());
    if (signature.empty())
        return {};

    const DerBytes digestId = digestAlgorithm(options.digest);
    const DerBytes embedded =
        options.detached ? DerBytes() : derElement(der::context0, {derElement(der::octetString, {content})});
    const DerBytes certificates = options.includeCertificate ? derElement(der::context0, {own.der}) : DerBytes();
    const DerBytes signedData = derElement(
        der::sequence, {versionOne, derElement(der::set, {digestId}),
                        derElement(der::sequence, {derObjectIdentifier(NID_pkcs7_data), embedded}), certificates,
                        derElement(der::set, {signerInfo(own, attributes, digestId, *algorithm, signature)})});
    return derElement(der::sequence, {derObjectIdentifier(NID_pkcs7_signed), derElement(der::context0, {signedData})});
}

}  // namespace quorvanti::provider

#include "providers/openssl/signing.h"

#include <openssl/rsa.h>

#include "providers/openssl/pkcs7_oids.h"
#include "providers/openssl/signature_algorithms.h"
#include "providers/openssl/utc_time.h"

namespace quorvanti::provider {
namespace {

constexpr std::uint8_t versionOne = 1;

void putVersion(DerWriter& writer) {
    writer.putElement(tag::integer, {&versionOne, 1});
}

void putAlgorithm(DerWriter& writer, Bytes oid, bool withNull) {
    const std::size_t behind = writer.size();
    if (withNull)
        writer.putElement(tag::null, {});
    writer.putElement(tag::objectIdentifier, oid);
    writer.wrap(tag::sequence, behind);
}

void putDigestAlgorithm(DerWriter& writer, Digest digest) {
    putAlgorithm(writer, digestOid(digest), true);
}

// RSA signatures name the key's algorithm alone, the way readers of every age know it; the others name the digest too.
Bytes signatureOid(KeyType type, Digest digest) {
    return type == KeyType::rsa ? oidOfSignature(type, std::nullopt) : oidOfSignature(type, digest);
}

void putAttribute(DerWriter& writer, Bytes type, std::uint8_t valueTag, Bytes value) {
    const std::size_t behind = writer.size();
    writer.putElement(valueTag, value);
    writer.wrap(tag::set, behind);
    writer.putElement(tag::objectIdentifier, type);
    writer.wrap(tag::sequence, behind);
}

// As they are signed. DER wants them in the order of their bytes, which is that of their lengths: the last one first
// here.
void putSignedAttributes(DerWriter& writer, Bytes contentDigest, std::int64_t time) {
    constexpr std::size_t generalizedTimeLength = 15;
    const std::string text = derTimeText(time);
    const Bytes timeBytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    putAttribute(writer, oidMessageDigest, tag::octetString, contentDigest);
    putAttribute(writer, oidSigningTime, text.size() < generalizedTimeLength ? tag::utcTime : tag::generalizedTime,
                 timeBytes);
    putAttribute(writer, oidContentType, tag::objectIdentifier, oidData);
    writer.wrap(tag::set, 0);
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
std::vector<std::uint8_t> signDigest(const KeyStore& store, Digest digest, Bytes hash) {
    const RandomUseGuard randomUse;
    EVP_PKEY* key = store.ownKey.get();
    EvpPkeyCtxPtr context = store.signing.take(digest);
    if (context == nullptr)
        context = prepare(key, store.own->key->type(), digest);
    std::vector<std::uint8_t> signature(static_cast<std::size_t>(EVP_PKEY_get_size(key)));
    std::size_t length = signature.size();
    if (context == nullptr || EVP_PKEY_sign(context.get(), signature.data(), &length, hash.data(), hash.size()) != 1)
        return {};
    store.signing.give(digest, std::move(context));
    signature.resize(length);
    return signature;
}

void putSigner(DerWriter& writer, const TrustedCertificate& own, Bytes attributes, Digest digest, Bytes signature) {
    const std::size_t behind = writer.size();
    const KeyType type = own.key->type();
    writer.putElement(tag::octetString, signature);
    putAlgorithm(writer, signatureOid(type, digest), type == KeyType::rsa);
    // Signed as a SET, carried with the tag of its place.
    writer.put(attributes.subspan(1));
    writer.put(tag::constructed(0));
    putDigestAlgorithm(writer, digest);
    const std::size_t name = writer.size();
    writer.putElement(tag::integer, own.serial);
    writer.put(own.issuer);
    writer.wrap(tag::sequence, name);
    putVersion(writer);
    writer.wrap(tag::sequence, behind);
}

void putContentInfo(DerWriter& writer, Bytes content, bool detached) {
    const std::size_t behind = writer.size();
    if (!detached) {
        writer.putElement(tag::octetString, content);
        writer.wrap(tag::constructed(0), behind);
    }
    writer.putElement(tag::objectIdentifier, oidData);
    writer.wrap(tag::sequence, behind);
}

void putSignedData(DerWriter& writer, const TrustedCertificate& own, Bytes content, Bytes attributes, Bytes signature,
                   const SigningOptions& options) {
    putSigner(writer, own, attributes, options.digest, signature);
    writer.wrap(tag::set, 0);
    if (options.includeCertificate)
        writer.putElement(tag::constructed(0), own.der);
    putContentInfo(writer, content, options.detached);
    const std::size_t digests = writer.size();
    putDigestAlgorithm(writer, options.digest);
    writer.wrap(tag::set, digests);
    putVersion(writer);
    writer.wrap(tag::sequence, 0);
    writer.wrap(tag::constructed(0), 0);
    writer.putElement(tag::objectIdentifier, oidSignedData);
    writer.wrap(tag::sequence, 0);
}

}  // namespace

DerWriter signContent(const KeyStore& store, std::span<const std::uint8_t> content, const SigningOptions& options) {
    constexpr std::size_t around = 256;  // what is neither name nor certificate nor content nor signature
    const auto nothing = [] { return DerWriter(0); };
    const TrustedCertificate& own = *store.own;
    DigestValue contentDigest;
    DigestValue attributesDigest;
    if (signatureOid(own.key->type(), options.digest).empty() || !digestOf(options.digest, content, contentDigest))
        return nothing();
    DerWriter attributes(around);
    putSignedAttributes(attributes, contentDigest.view(), options.time);
    if (!digestOf(options.digest, attributes.written(), attributesDigest))
        return nothing();
    const std::vector<std::uint8_t> signature = signDigest(store, options.digest, attributesDigest.view());
    if (signature.empty())
        return nothing();
    DerWriter writer(around + attributes.size() + signature.size() + own.issuer.size() + own.serial.size() +
                     (options.includeCertificate ? own.der.size() : 0) + (options.detached ? 0 : content.size()));
    putSignedData(writer, own, content, attributes.written(), signature, options);
    return writer;
}

}  // namespace quorvanti::provider

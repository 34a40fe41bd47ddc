#include "tests/providers/openssl/leaf_builder.h"

#include <stdexcept>

#include "providers/openssl/certificate_chain.h"
#include "providers/openssl/direct_chain.h"
#include "quorvanti/ssf.h"

namespace quorvanti::test {
namespace {

using provider::Bytes;
using provider::TrustedCertificate;

Octets text(std::uint8_t tag, const std::string& value) {
    return der(tag, Octets(value.begin(), value.end()));
}

std::string differenceBetween(const TrustedCertificate& one, const TrustedCertificate& other) {
    if (one.der != other.der)
        return "certificate";
    if (!provider::sameBytes(one.issuer, other.issuer) || !provider::sameBytes(one.subjectName, other.subjectName))
        return "name";
    if (!provider::sameBytes(one.serial, other.serial))
        return "serial number";
    if (!provider::sameBytes(one.subjectKeyIdentifier, other.subjectKeyIdentifier))
        return "key identifier";
    if (one.notBefore != other.notBefore || one.notAfter != other.notAfter)
        return "validity";
    if (one.subject != other.subject)
        return "subject " + one.subject + " and " + other.subject;
    if (one.info != other.info)
        return one.info + " and " + other.info;
    if (one.key->type() != other.key->type() || one.key->bits() != other.key->bits() ||
        EVP_PKEY_eq(one.key->get(), other.key->get()) != 1)
        return "key";
    return {};
}

}  // namespace

Octets name(const std::string& commonName, std::uint8_t stringTag) {
    return der(0x30, der(0x31, der(0x30, {oid("2.5.4.3"), text(stringTag, commonName)})));
}

Octets utcTime(const std::string& value) {
    return text(0x17, value);
}

Octets generalizedTime(const std::string& value) {
    return text(0x18, value);
}

Octets publicKey(const std::string& key) {
    unsigned char* bytes = nullptr;
    const int length = i2d_PUBKEY(testKey(key), &bytes);
    if (length <= 0)
        throw std::runtime_error("public key");
    const provider::OpensslBytes owner(bytes);
    return {bytes, bytes + length};
}

Octets identifierOfKey(const std::string& key) {
    return digestOfBytes("SHA1", publicKey(key));
}

Octets extension(const char* dotted, const Octets& value, bool critical) {
    return der(0x30, {oid(dotted), critical ? Octets{0x01, 0x01, 0xff} : Octets{}, der(0x04, value)});
}

Octets extensions(const std::vector<Octets>& list) {
    return der(0xa3, der(0x30, list));
}

Octets LeafParts::toBeSigned() const {
    return der(0x30, {version, serial, algorithm, issuer, validity, subject, key, extensions, behind});
}

Octets LeafParts::build() const {
    return certify(toBeSigned(), algorithm);
}

Octets certify(const Octets& toBeSigned, const Octets& algorithm) {
    return der(0x30, {toBeSigned, algorithm, der(0x03, {Octets{0x00}, signBytes("authority", "SHA256", toBeSigned)})});
}

std::unique_ptr<provider::KeyStore> storeWith(const std::vector<Octets>& certificates) {
    std::string pem;
    for (const Octets& certificate : certificates)
        pem += pemOf(certificate);
    auto store = std::make_unique<provider::KeyStore>();
    store->profile = "trusted";
    const Octets image(pem.begin(), pem.end());
    if (provider::parseKeyStoreImage(image, {}, *store) != SSF_API_OK)
        throw std::runtime_error("key store");
    return store;
}

bool chainsDirectly(const provider::KeyStore& store, const Octets& signer, const std::vector<Octets>& carried,
                    std::int64_t time, std::string& difference) {
    const std::vector<Bytes> along(carried.begin(), carried.end());
    const auto direct = provider::chainDirectly(store, signer, along, time);
    const provider::ChainOutcome byToolkit = provider::chainByToolkit(store, signer, along, time);
    const provider::ChainOutcome whole = provider::chainSigner(store, signer, along, time);
    if (direct != nullptr && byToolkit.signer == nullptr)
        difference = "taken directly, but " + byToolkit.problem;
    else if (direct != nullptr)
        difference = differenceBetween(*direct, *byToolkit.signer);
    else if ((whole.signer == nullptr) != (byToolkit.signer == nullptr) || whole.result != byToolkit.result ||
             whole.problem != byToolkit.problem)
        difference = whole.problem + " and " + byToolkit.problem;
    else
        difference.clear();
    return direct != nullptr;
}

}  // namespace quorvanti::test

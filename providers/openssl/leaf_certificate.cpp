#include "providers/openssl/leaf_certificate.h"

#include <array>

#include "providers/openssl/leaf_extensions.h"
#include "providers/openssl/utc_time.h"

namespace quorvanti::provider {
namespace {

constexpr std::uint8_t versionThree = 2;
constexpr std::size_t longestSerial = 20;

bool readVersionAndSerial(DerReader& reader) {
    Bytes field;
    Bytes version;
    Bytes serial;
    return reader.read(tag::constructed(0), field) && readOnly(field, tag::integer, version) && version.size() == 1 &&
           version.front() == versionThree && reader.read(tag::integer, serial) && isInteger(serial) &&
           serial.front() < 0x80 && serial.size() <= longestSerial;
}

// Both algorithm identifiers of the certificate are these bytes. SHA-2 only; RSA with NULL for parameters, the others
// with none.
bool readAlgorithm(Bytes whole, LeafCertificate& leaf) {
    Bytes content;
    Bytes oid;
    if (!readOnly(whole, tag::sequence, content))
        return false;
    DerReader reader(content);
    if (!reader.read(tag::objectIdentifier, oid))
        return false;
    const auto algorithm = signatureAlgorithmByOid(oid);
    if (!algorithm || !algorithm->digest)
        return false;
    leaf.issuerKey = algorithm->keyType;
    leaf.digest = *algorithm->digest;
    if (leaf.digest != Digest::sha256 && leaf.digest != Digest::sha384 && leaf.digest != Digest::sha512)
        return false;
    Bytes null;
    if (leaf.issuerKey == KeyType::rsa)
        return reader.read(tag::null, null) && null.empty() && reader.atEnd();
    return leaf.issuerKey == KeyType::ec && reader.atEnd();
}

// One value a step, of a usual kind of text. What the texts say is left to the toolkit.
bool isPlainName(Bytes content) {
    constexpr std::uint8_t utf8String = 0x0c;
    constexpr std::uint8_t printableString = 0x13;
    constexpr std::uint8_t ia5String = 0x16;
    DerReader reader(content);
    while (!reader.atEnd()) {
        Bytes step;
        Bytes pair;
        DerElement value;
        if (!reader.read(tag::set, step) || !readOnly(step, tag::sequence, pair))
            return false;
        DerReader parts(pair);
        if (!parts.skip(tag::objectIdentifier) || !parts.read(value) || !parts.atEnd() ||
            (value.tag != utf8String && value.tag != printableString && value.tag != ia5String))
            return false;
    }
    return !content.empty();
}

bool readName(DerReader& reader, Bytes& name) {
    DerElement element;
    if (!reader.read(tag::sequence, element) || !isPlainName(element.content))
        return false;
    name = element.whole;
    return true;
}

bool readValidity(DerReader& reader, LeafCertificate& leaf) {
    Bytes validity;
    DerElement from;
    DerElement until;
    if (!reader.read(tag::sequence, validity))
        return false;
    DerReader parts(validity);
    if (!parts.read(from) || !parts.read(until) || !parts.atEnd())
        return false;
    const auto notBefore = secondsOf(from);
    const auto notAfter = secondsOf(until);
    if (!notBefore || !notAfter)
        return false;
    leaf.notBefore = *notBefore;
    leaf.notAfter = *notAfter;
    return true;
}

bool readToBeSigned(Bytes content, Bytes algorithm, LeafCertificate& leaf) {
    DerReader reader(content);
    DerElement innerAlgorithm;
    Bytes key;
    if (!readVersionAndSerial(reader) || !reader.read(tag::sequence, innerAlgorithm) ||
        !sameBytes(innerAlgorithm.whole, algorithm) || !readName(reader, leaf.issuer) || !readValidity(reader, leaf) ||
        !readName(reader, leaf.subject) || !reader.read(tag::sequence, key) || !readLeafKey(key, leaf.key))
        return false;
    if (reader.atEnd())
        return true;
    Bytes extensions;
    return reader.read(tag::constructed(3), extensions) && reader.atEnd() &&
           readLeafExtensions(extensions, leaf.authorityKeyIdentifier);
}

}  // namespace

bool readLeafCertificate(Bytes der, LeafCertificate& leaf) {
    Bytes certificate;
    DerElement toBeSigned;
    DerElement algorithm;
    Bytes bits;
    if (!readOnly(der, tag::sequence, certificate))
        return false;
    DerReader reader(certificate);
    if (!reader.read(tag::sequence, toBeSigned) || !reader.read(tag::sequence, algorithm) ||
        !reader.read(tag::bitString, bits) || !reader.atEnd() || bits.empty() || bits.front() != 0)
        return false;
    leaf.toBeSigned = toBeSigned.whole;
    leaf.signature = bits.subspan(1);  // behind the number of unused bits
    return readAlgorithm(algorithm.whole, leaf) && readToBeSigned(toBeSigned.content, algorithm.whole, leaf);
}

}  // namespace quorvanti::provider

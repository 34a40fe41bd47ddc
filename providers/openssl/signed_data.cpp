#include "providers/openssl/signed_data.h"

#include "providers/openssl/pkcs7_oids.h"
#include "providers/openssl/signed_attributes.h"

namespace quorvanti::provider {
namespace {

// 1 with issuer and serial number, 3 with a key identifier; the same in the SignedData and in its signer.
constexpr std::uint8_t versionIssuerAndSerial = 1;
constexpr std::uint8_t versionKeyIdentifier = 3;

constexpr std::string_view noSignedData = "The signature is no PKCS#7 SignedData in strict DER.";
constexpr std::string_view badSigner = "The signer of the signature is not in strict DER or has an unexpected shape.";
constexpr std::string_view trailingBytes = "Bytes follow behind the end of the signature.";

// The fields of the SignedData as they stand one behind the other.
struct Fields {
    Bytes version;
    Bytes digestAlgorithms;
    Bytes contentInfo;
    Bytes certificates;
    Bytes signers;
    bool hasRevocationLists = false;
};

bool readAlgorithm(DerReader& reader, AlgorithmIdentifier& algorithm) {
    Bytes content;
    if (!reader.read(tag::sequence, content)) {
        return false;
    }
    DerReader parts(content);
    if (!parts.read(tag::objectIdentifier, algorithm.oid) || algorithm.oid.empty()) {
        return false;
    }
    if (parts.atEnd()) {
        algorithm.plainParameters = true;
        return true;
    }
    DerElement parameters;
    if (!parts.read(parameters) || !parts.atEnd()) {
        return false;
    }
    algorithm.plainParameters = parameters.tag == tag::null && parameters.content.empty();
    return true;
}

std::string_view openEnvelope(Bytes signature, Bytes& signedData) {
    DerReader outside(signature);
    Bytes contentInfo;
    if (!outside.read(tag::sequence, contentInfo)) {
        return noSignedData;
    }
    if (!outside.atEnd()) {
        return trailingBytes;
    }
    DerReader reader(contentInfo);
    Bytes type;
    Bytes content;
    if (!reader.read(tag::objectIdentifier, type) || !sameBytes(type, oidSignedData) ||
        !reader.read(tag::constructed(0), content) || !reader.atEnd() ||
        !readOnly(content, tag::sequence, signedData)) {
        return noSignedData;
    }
    return {};
}

bool splitFields(Bytes signedData, Fields& fields) {
    DerReader reader(signedData);
    if (!reader.read(tag::integer, fields.version) || !reader.read(tag::set, fields.digestAlgorithms) ||
        !reader.read(tag::sequence, fields.contentInfo)) {
        return false;
    }
    if (reader.nextIs(tag::constructed(0)) && !reader.read(tag::constructed(0), fields.certificates)) {
        return false;
    }
    if (reader.nextIs(tag::constructed(1))) {
        fields.hasRevocationLists = true;
        return reader.skip(tag::constructed(1));
    }
    return reader.read(tag::set, fields.signers) && reader.atEnd();
}

std::string_view checkContentInfo(Bytes contentInfo) {
    DerReader reader(contentInfo);
    Bytes type;
    if (!reader.read(tag::objectIdentifier, type)) {
        return noSignedData;
    }
    if (!sameBytes(type, oidData)) {
        return "The signature is over another content type than data.";
    }
    return reader.atEnd() ? std::string_view() : "The signature carries content; a ticket's signature is detached.";
}

std::string_view readCertificates(Bytes field, SignedData& result) {
    result.certificatesField = field;
    DerReader reader(field);
    for (std::size_t count = 0; !reader.atEnd(); ++count) {
        if (!reader.skip(tag::sequence)) {
            return "The certificates of the signature are not X.509 certificates in strict DER.";
        }
        if (count == SignedData::mostCertificates) {
            return "The signature carries more than 32 certificates.";
        }
    }
    return {};
}

// Sets the version that this way to name the signer asks for.
bool readSignerIdentifier(DerReader& reader, SignedData& result, std::uint8_t& version) {
    if (reader.nextIs(tag::primitive(0))) {
        version = versionKeyIdentifier;
        return reader.read(tag::primitive(0), result.subjectKeyIdentifier) && !result.subjectKeyIdentifier.empty();
    }
    version = versionIssuerAndSerial;
    Bytes issuerAndSerial;
    if (!reader.read(tag::sequence, issuerAndSerial)) {
        return false;
    }
    DerReader parts(issuerAndSerial);
    DerElement issuer;
    if (!parts.read(tag::sequence, issuer) || !parts.read(tag::integer, result.serial) || !parts.atEnd()) {
        return false;
    }
    result.issuer = issuer.whole;
    return isInteger(result.serial);
}

bool isVersion(Bytes content, std::uint8_t version) {
    return content.size() == 1 && content[0] == version;
}

std::string_view readSigner(Bytes signer, Bytes outerVersion, SignedData& result) {
    DerReader reader(signer);
    Bytes version;
    std::uint8_t expectedVersion = 0;
    if (!reader.read(tag::integer, version) || !readSignerIdentifier(reader, result, expectedVersion)) {
        return badSigner;
    }
    if (!isVersion(version, expectedVersion) || !isVersion(outerVersion, expectedVersion)) {
        return "The versions in the signature do not fit the way it names its signer.";
    }
    if (!readAlgorithm(reader, result.signerDigestAlgorithm)) {
        return badSigner;
    }
    if (reader.nextIs(tag::constructed(0))) {
        DerElement attributes;
        if (!reader.read(attributes)) {
            return badSigner;
        }
        if (const std::string_view refusal = readSignedAttributes(attributes, result); !refusal.empty()) {
            return refusal;
        }
    }
    if (!readAlgorithm(reader, result.signatureAlgorithm) || !reader.read(tag::octetString, result.signature)) {
        return badSigner;
    }
    if (reader.nextIs(tag::constructed(1))) {
        return "The signature has unsigned attributes; a ticket's signature has none.";
    }
    return reader.atEnd() ? std::string_view() : badSigner;
}

}  // namespace

std::vector<Bytes> SignedData::carriedCertificates() const {
    std::vector<Bytes> certificates;
    forEachCertificate([&](Bytes certificate) { certificates.push_back(certificate); });
    return certificates;
}

std::string_view readSignedData(Bytes signature, SignedData& result) {
    Bytes signedData;
    if (const std::string_view refusal = openEnvelope(signature, signedData); !refusal.empty()) {
        return refusal;
    }
    Fields fields;
    if (!splitFields(signedData, fields)) {
        return noSignedData;
    }
    if (fields.hasRevocationLists) {
        return "The signature carries revocation lists; a ticket's signature has none.";
    }
    if (fields.signers.empty()) {
        return "The signature has no signer.";
    }
    if (const std::string_view refusal = checkContentInfo(fields.contentInfo); !refusal.empty()) {
        return refusal;
    }
    DerReader digests(fields.digestAlgorithms);
    if (!readAlgorithm(digests, result.digestAlgorithm) || !digests.atEnd()) {
        return "The signature does not name exactly one digest algorithm.";
    }
    if (const std::string_view refusal = readCertificates(fields.certificates, result); !refusal.empty()) {
        return refusal;
    }
    DerReader signers(fields.signers);
    Bytes signer;
    if (!signers.read(tag::sequence, signer)) {
        return badSigner;
    }
    if (!signers.atEnd()) {
        return "The signature has more than one signer.";
    }
    return readSigner(signer, fields.version, result);
}

}  // namespace quorvanti::provider

#include "tests/providers/openssl/signed_data_builder.h"

#include <openssl/dsa.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace quorvanti::test {
namespace {

using namespace quorvanti::provider;

void require(bool worked, const char* what) {
    if (!worked)
        throw std::runtime_error(what);
}

template <class Type, class Encode>
Octets encoded(const Type* object, Encode encode) {
    unsigned char* bytes = nullptr;
    const int length = encode(object, &bytes);
    require(length > 0, "encoding");
    const OpensslBytes owner(bytes);
    return {bytes, bytes + length};
}

X509Ptr decoded(const Octets& certificate) {
    const unsigned char* position = certificate.data();
    X509Ptr result(d2i_X509(nullptr, &position, static_cast<long>(certificate.size())));
    require(result != nullptr, "certificate");
    return result;
}

std::string textOf(BIO* bio) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(length)};
}

X509NamePtr nameOf(const std::string& commonName) {
    X509NamePtr name(X509_NAME_new());
    require(X509_NAME_add_entry_by_txt(name.get(), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0) == 1,
            "name");
    return name;
}

struct DigestNames {
    const char* oid;
    const char* dsa;
    const char* ecdsa;
};

const DigestNames& namesOf(const std::string& digest) {
    static const std::map<std::string, DigestNames> table{
        {"MD5", {"1.2.840.113549.2.5", "1.2.840.10040.4.3", "1.2.840.10045.4.1"}},
        {"SHA1", {"1.3.14.3.2.26", "1.2.840.10040.4.3", "1.2.840.10045.4.1"}},
        {"SHA224", {"2.16.840.1.101.3.4.2.4", "2.16.840.1.101.3.4.3.1", "1.2.840.10045.4.3.1"}},
        {"SHA256", {"2.16.840.1.101.3.4.2.1", "2.16.840.1.101.3.4.3.2", "1.2.840.10045.4.3.2"}},
        {"SHA384", {"2.16.840.1.101.3.4.2.2", "2.16.840.1.101.3.4.3.3", "1.2.840.10045.4.3.3"}},
        {"SHA512", {"2.16.840.1.101.3.4.2.3", "2.16.840.1.101.3.4.3.4", "1.2.840.10045.4.3.4"}},
    };
    return table.at(digest);
}

Octets signatureAlgorithmFor(EVP_PKEY* key, const std::string& digest) {
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
            return algorithm("1.2.840.113549.1.1.1");
        case EVP_PKEY_DSA:
            return algorithm(namesOf(digest).dsa, false);
        default:
            return algorithm(namesOf(digest).ecdsa, false);
    }
}

}  // namespace

Octets der(std::uint8_t tag, const Octets& content) {
    Octets result{tag};
    const std::size_t size = content.size();
    if (size >= 0x100) {
        result.insert(result.end(),
                      {0x82, static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size & 0xff)});
    } else if (size >= 0x80) {
        result.insert(result.end(), {0x81, static_cast<std::uint8_t>(size)});
    } else {
        result.push_back(static_cast<std::uint8_t>(size));
    }
    result.insert(result.end(), content.begin(), content.end());
    return result;
}

Octets der(std::uint8_t tag, const std::vector<Octets>& parts) {
    return der(tag, join(parts));
}

Octets join(const std::vector<Octets>& parts) {
    Octets result;
    for (const Octets& part : parts)
        result.insert(result.end(), part.begin(), part.end());
    return result;
}

Octets oid(const char* dotted) {
    ASN1_OBJECT* object = OBJ_txt2obj(dotted, 1);
    require(object != nullptr, "object identifier");
    Octets result = encoded(object, i2d_ASN1_OBJECT);
    ASN1_OBJECT_free(object);
    return result;
}

Octets algorithm(const char* dotted, bool withNull) {
    return der(0x30, {oid(dotted), withNull ? Octets{0x05, 0x00} : Octets{}});
}

Octets number(std::uint8_t value) {
    return {0x02, 0x01, value};
}

Octets attribute(const char* type, const std::vector<Octets>& values) {
    return der(0x30, {oid(type), der(0x31, values)});
}

EVP_PKEY* testKey(const std::string& name) {
    static std::map<std::string, EvpPkeyPtr> keys;
    EvpPkeyPtr& key = keys[name];
    if (key == nullptr) {
        const BioPtr file(BIO_new_file((std::string(QUORVANTI_TEST_KEYS "/") + name + ".pem").c_str(), "rb"));
        key.reset(PEM_read_bio_PrivateKey(file.get(), nullptr, nullptr, nullptr));
        require(key != nullptr, "test key");
    }
    return key.get();
}

Octets signBytes(const std::string& keyName, const char* digest, const Octets& data) {
    const EvpMdCtxPtr context(EVP_MD_CTX_new());
    std::size_t length = 0;
    require(EVP_DigestSignInit_ex(context.get(), nullptr, digest, nullptr, nullptr, testKey(keyName), nullptr) == 1 &&
                EVP_DigestSign(context.get(), nullptr, &length, data.data(), data.size()) == 1,
            "signing");
    Octets signature(length);
    require(EVP_DigestSign(context.get(), signature.data(), &length, data.data(), data.size()) == 1, "signing");
    signature.resize(length);
    return signature;
}

Octets makeCertificate(const std::string& key, const std::string& issuerKey, const CertificateParts& parts) {
    const X509Ptr certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), parts.serial);
    ASN1_TIME_set(X509_getm_notBefore(certificate.get()), static_cast<time_t>(parts.notBefore));
    ASN1_TIME_set(X509_getm_notAfter(certificate.get()), static_cast<time_t>(parts.notAfter));
    X509_set_subject_name(certificate.get(), nameOf(parts.subject).get());
    X509_set_issuer_name(certificate.get(), nameOf(parts.issuer.empty() ? parts.subject : parts.issuer).get());
    X509_set_pubkey(certificate.get(), testKey(key));
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate.get(), certificate.get(), nullptr, nullptr, 0);
    for (const auto& [name, value] : parts.extensions) {
        X509_EXTENSION* extension = X509V3_EXT_nconf(nullptr, &context, name, value);
        require(extension != nullptr && X509_add_ext(certificate.get(), extension, -1) == 1, "extension");
        X509_EXTENSION_free(extension);
    }
    require(X509_sign(certificate.get(), testKey(issuerKey), EVP_get_digestbyname(parts.digest)) > 0, "certificate");
    return encoded(certificate.get(), i2d_X509);
}

std::string pemOf(const Octets& certificate) {
    const BioPtr bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(bio.get(), decoded(certificate).get());
    return textOf(bio.get());
}

std::string keyPem(const std::string& key) {
    const BioPtr bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_PrivateKey(bio.get(), testKey(key), nullptr, nullptr, 0, nullptr, nullptr);
    return textOf(bio.get());
}

Octets digestOfBytes(const char* digest, const Octets& data) {
    Octets value(EVP_MAX_MD_SIZE);
    std::size_t length = 0;
    require(EVP_Q_digest(nullptr, digest, nullptr, data.data(), data.size(), value.data(), &length) == 1, "digest");
    value.resize(length);
    return value;
}

SignatureParts::SignatureParts(std::string keyName, Octets signerCertificate, const char* digestName)
    : key(std::move(keyName)),
      digest(digestName),
      outerType(oid(oidSignedData)),
      digestAlgorithms{algorithm(namesOf(digest).oid)},
      contentType(oid(oidData)),
      certificates{signerCertificate},
      signer(issuerAndSerial(signerCertificate)),
      signerDigestAlgorithm(algorithm(namesOf(digest).oid)),
      signatureAlgorithm(signatureAlgorithmFor(testKey(key), digest)) {}

std::vector<Octets> SignatureParts::usualAttributes(const Octets& content) const {
    return {attribute(oidContentType, {oid(oidData)}),
            attribute(oidMessageDigest, {der(0x04, digestOfBytes(digest.c_str(), content))})};
}

Octets SignatureParts::signerInfo(const Octets& content) const {
    Octets signedBytes = content;
    Octets attributesField;
    if (withAttributes) {
        const Octets list = join(attributes ? *attributes : usualAttributes(content));
        signedBytes = der(0x31, list);
        attributesField = der(0xa0, list);
    }
    return der(0x30, {number(signerVersion), signer, signerDigestAlgorithm, attributesField, signatureAlgorithm,
                      der(0x04, signBytes(key, digest.c_str(), signedBytes)), behindSignature});
}

Octets SignatureParts::build(const Octets& content) const {
    std::vector<Octets> infos(static_cast<std::size_t>(signers), signers > 0 ? signerInfo(content) : Octets{});
    const Octets certificatesField = certificates.empty() ? Octets{} : der(0xa0, certificates);
    const Octets signedData =
        der(0x30, {number(version), der(0x31, digestAlgorithms), der(0x30, {contentType, embedded.value_or(Octets{})}),
                   certificatesField, behindCertificates, der(0x31, infos)});
    return der(0x30, {outerType, der(0xa0, signedData)});
}

Octets issuerAndSerial(const Octets& certificate) {
    const X509Ptr read = decoded(certificate);
    return der(0x30, {encoded(X509_get_issuer_name(read.get()), i2d_X509_NAME),
                      encoded(X509_get0_serialNumber(read.get()), i2d_ASN1_INTEGER)});
}

Octets keyIdentifier(const Octets& certificate) {
    const X509Ptr read = decoded(certificate);
    const ASN1_OCTET_STRING* identifier = X509_get0_subject_key_id(read.get());
    require(identifier != nullptr, "key identifier");
    const unsigned char* data = ASN1_STRING_get0_data(identifier);
    return der(0x80, Octets(data, data + ASN1_STRING_length(identifier)));
}

}  // namespace quorvanti::test

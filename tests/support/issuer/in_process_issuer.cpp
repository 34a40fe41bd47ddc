#include "tests/support/issuer/in_process_issuer.h"

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <stdexcept>

namespace quorvanti::test {

namespace {

template <auto release>
struct Releaser {
    template <typename T>
    void operator()(T* thing) const {
        release(thing);
    }
};
using Bio = std::unique_ptr<BIO, Releaser<BIO_free_all>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Releaser<EVP_PKEY_CTX_free>>;
using Cms = std::unique_ptr<CMS_ContentInfo, Releaser<CMS_ContentInfo_free>>;
using Pkcs12 = std::unique_ptr<PKCS12, Releaser<PKCS12_free>>;
using Key = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;

void require(bool worked, const char* what) {
    if (!worked) {
        throw std::runtime_error(std::string(what) + ": " + ERR_error_string(ERR_peek_last_error(), nullptr));
    }
}

Bytes contentOf(const Bio& bio) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &data);
    return bytesOf({data, static_cast<std::size_t>(length)});
}

EVP_PKEY* makeDsaKey() {
    const KeyContext forParameters(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
    EVP_PKEY* parameters = nullptr;
    require(EVP_PKEY_paramgen_init(forParameters.get()) == 1 &&
                EVP_PKEY_CTX_set_dsa_paramgen_bits(forParameters.get(), 2048) == 1 &&
                EVP_PKEY_paramgen(forParameters.get(), &parameters) == 1,
            "DSA parameters");
    const Key owner(parameters);
    const KeyContext forKey(EVP_PKEY_CTX_new_from_pkey(nullptr, parameters, nullptr));
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_keygen_init(forKey.get()) == 1 && EVP_PKEY_keygen(forKey.get(), &key) == 1, "DSA key");
    return key;
}

EVP_PKEY* makeKey(KeyKind kind) {
    switch (kind) {
        case KeyKind::rsa:
            return EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<std::size_t>(2048));
        case KeyKind::rsa3072:
            return EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<std::size_t>(3072));
        case KeyKind::ec:
            return EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256");
        case KeyKind::dsa:
            return makeDsaKey();
    }
    return nullptr;
}

void describe(X509* certificate, EVP_PKEY* key, const std::string& name) {
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 4711);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 315360000);
    X509_NAME* subject = X509_get_subject_name(certificate);
    require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0) == 1,
            "subject");
    X509_set_issuer_name(certificate, subject);
    X509_set_pubkey(certificate, key);
    require(X509_sign(certificate, key, EVP_sha256()) != 0, "certificate");
}

}  // namespace

void InProcessIssuer::Release::operator()(evp_pkey_st* key) const {
    EVP_PKEY_free(key);
}
void InProcessIssuer::Release::operator()(x509_st* certificate) const {
    X509_free(certificate);
}

InProcessIssuer::InProcessIssuer(KeyKind kind, const std::string& name)
    : key_(makeKey(kind)), certificate_(X509_new()) {
    require(key_ != nullptr && certificate_ != nullptr, "key");
    describe(certificate_.get(), key_.get(), name);
}

std::string InProcessIssuer::certificatePem() const {
    const Bio bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(bio.get(), certificate_.get()) == 1, "PEM certificate");
    const Bytes pem = contentOf(bio);
    return {pem.begin(), pem.end()};
}

Bytes InProcessIssuer::certificateDer() const {
    const Bio bio(BIO_new(BIO_s_mem()));
    require(i2d_X509_bio(bio.get(), certificate_.get()) == 1, "DER certificate");
    return contentOf(bio);
}

std::string InProcessIssuer::keyPem() const {
    const Bio bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PrivateKey(bio.get(), key_.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1, "PEM key");
    const Bytes pem = contentOf(bio);
    return {pem.begin(), pem.end()};
}

Bytes InProcessIssuer::pkcs12(const std::string& password) const {
    const Pkcs12 store(
        PKCS12_create(password.c_str(), "issuer", key_.get(), certificate_.get(), nullptr, 0, 0, 0, 0, 0));
    const Bio bio(BIO_new(BIO_s_mem()));
    require(store != nullptr && i2d_PKCS12_bio(bio.get(), store.get()) == 1, "PKCS#12");
    return contentOf(bio);
}

Bytes InProcessIssuer::sign(const Bytes& content, const SignOptions& options) const {
    const EVP_MD* hash = EVP_get_digestbyname(options.hash.c_str());
    require(hash != nullptr, "hash");
    const unsigned flags = CMS_BINARY | CMS_DETACHED | CMS_PARTIAL | CMS_NOSMIMECAP |
                           (options.withCertificate ? 0U : static_cast<unsigned>(CMS_NOCERTS)) |
                           (options.withAttributes ? 0U : static_cast<unsigned>(CMS_NOATTR));
    const Bio in(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    const Cms cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, flags));
    require(cms != nullptr && CMS_add1_signer(cms.get(), certificate_.get(), key_.get(), hash, flags) != nullptr &&
                CMS_final(cms.get(), in.get(), nullptr, flags) == 1,
            "signature");
    const Bio out(BIO_new(BIO_s_mem()));
    require(i2d_CMS_bio(out.get(), cms.get()) == 1, "DER signature");
    return contentOf(out);
}

std::string InProcessIssuer::ticket(const TicketBuilder& builder, const SignOptions& options) const {
    const Bytes content = builder.signedBytes();
    return ticketText(content, sign(content, options));
}

}  // namespace quorvanti::test

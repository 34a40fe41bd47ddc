// OpenSSL's objects, released by their owners.
#pragma once

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace quorvanti {

struct OpensslRelease {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_NAME* name) const { X509_NAME_free(name); }
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(BIO* bio) const { BIO_free_all(bio); }
    void operator()(BIGNUM* number) const { BN_free(number); }
    void operator()(PKCS12* store) const { PKCS12_free(store); }
    void operator()(CMS_ContentInfo* message) const { CMS_ContentInfo_free(message); }
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
    void operator()(STACK_OF(PKCS7) * parts) const { sk_PKCS7_pop_free(parts, PKCS7_free); }
    void operator()(STACK_OF(PKCS12_SAFEBAG) * bags) const { sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free); }
    void operator()(char* text) const { OPENSSL_free(text); }
    void operator()(unsigned char* bytes) const { OPENSSL_free(bytes); }
};

template <typename Type>
using Openssl = std::unique_ptr<Type, OpensslRelease>;
using CertificateList = std::unique_ptr<STACK_OF(X509), OpensslRelease>;

}  // namespace quorvanti

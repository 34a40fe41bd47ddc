// What is measured and counted over: the tickets and key stores of tests/speed/data, which
// were on the disk long before, taken apart with the toolkit.
#pragma once

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorvanti::speed {

template <auto release>
struct Releaser {
    template <typename T>
    void operator()(T* thing) const {
        release(thing);
    }
};
inline void freeStack(STACK_OF(X509) * certificates) {
    sk_X509_free(certificates);
}
using Bio = std::unique_ptr<BIO, Releaser<BIO_free_all>>;
using Cms = std::unique_ptr<CMS_ContentInfo, Releaser<CMS_ContentInfo_free>>;
using Pkcs7 = std::unique_ptr<PKCS7, Releaser<PKCS7_free>>;
using Store = std::unique_ptr<X509_STORE, Releaser<X509_STORE_free>>;
using Key = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Releaser<EVP_PKEY_CTX_free>>;
using X509Ptr = std::unique_ptr<X509, Releaser<X509_free>>;
using Certificates = std::unique_ptr<STACK_OF(X509), Releaser<freeStack>>;

using Bytes = std::vector<std::uint8_t>;
using Digest = std::array<std::uint8_t, 32>;

void require(bool holds, const char* what);

Bytes bytesOf(BIO* bio);  // of a memory BIO
std::string dataFile(const std::string& name);
Digest sha256(const Bytes& bytes);
Key privateKey(const std::string& file);
Key keyOf(const std::string& pkcs12, const char* password);
X509Ptr certificateOf(const std::string& pem);  // the first in it

struct Ticket {
    // "rsa-bare" with the key store "rsa.pem".
    Ticket(const std::string& name, const std::string& keyStoreName);
    Ticket(Bytes signedContent, Bytes cms, const std::string& keyStoreName);

    std::string text;
    std::string keyStore;
    const char* password = nullptr;
    Bytes content;
    Bytes signature;  // the whole SignedData, DER

    Bytes bareSignature() const;  // of its only signer
    X509Ptr certificate() const;  // the first in the key store
    Key key() const;              // of that certificate
};

// Tickets of as many issuers, each with a certificate of its own below the authority that "chained.pem" trusts.
std::vector<Ticket> chainedTickets(std::size_t count);

}  // namespace quorvanti::speed

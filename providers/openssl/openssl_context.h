// The provider's own OpenSSL: one library context, nothing shared with the host's, and the types that give OpenSSL
// objects back.
#pragma once

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <memory>

namespace quorvanti::provider {

// The context that every OpenSSL call of the provider names. Made at first use, without reading a configuration
// file; holds the default provider, and the legacy provider (old PKCS#12 ciphers) where the system has it.
// Null when it cannot be made.
OSSL_LIB_CTX* libraryContext();

// Counts an object that holds OpenSSL objects and that somebody outside may keep beyond stopLibrary().
class LiveObject {
public:
    LiveObject();
    LiveObject(const LiveObject&) : LiveObject() {}
    LiveObject& operator=(const LiveObject&) = default;
    ~LiveObject();
};

// Has `release` called when the library stops, once for each registration; register again when the thing is made
// again. Whatever is kept in process-wide variables and belongs to the context goes this way, for nothing of the
// provider is destroyed at exit: other threads may still be at work then.
void atLibraryStop(void (*release)());

// Calls what was registered and frees the context, unless a LiveObject still needs it. The next use starts anew.
void stopLibrary();

// Leaves the error queue of the calling thread, which the host shares, as it was.
class ErrorQueueGuard {
public:
    ErrorQueueGuard();
    ErrorQueueGuard(const ErrorQueueGuard&) = delete;
    ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
    ~ErrorQueueGuard();

    // Drops the errors so far. Long work calls it between its steps: the queue is short, and what overflows it is
    // the host's oldest error.
    void settle();

private:
    bool hostHasErrors_;
};

// For work that may draw random numbers: gives back the generators that the calling thread got in our context.
// Without it a thread that ends after stopLibrary() would look for them in a context that is gone.
class RandomUseGuard {
public:
    RandomUseGuard() = default;
    RandomUseGuard(const RandomUseGuard&) = delete;
    RandomUseGuard& operator=(const RandomUseGuard&) = delete;
    ~RandomUseGuard();
};

template <auto release>
struct OpensslDeleter {
    template <class Type>
    void operator()(Type* object) const {
        release(object);
    }
};

inline void freeBytes(unsigned char* bytes) {
    OPENSSL_free(bytes);
}
inline void freeText(char* text) {
    OPENSSL_free(text);
}
inline void freeCertificates(STACK_OF(X509) * certificates) {
    sk_X509_pop_free(certificates, X509_free);
}

using BignumPtr = std::unique_ptr<BIGNUM, OpensslDeleter<BN_free>>;
using BioPtr = std::unique_ptr<BIO, OpensslDeleter<BIO_free_all>>;
using X509Ptr = std::unique_ptr<X509, OpensslDeleter<X509_free>>;
using X509StackPtr = std::unique_ptr<STACK_OF(X509), OpensslDeleter<freeCertificates>>;
using EvpMdCtxPtr = std::unique_ptr<EVP_MD_CTX, OpensslDeleter<EVP_MD_CTX_free>>;
using EvpMdPtr = std::unique_ptr<EVP_MD, OpensslDeleter<EVP_MD_free>>;
using EvpPkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, OpensslDeleter<EVP_PKEY_CTX_free>>;
using EvpPkeyPtr = std::unique_ptr<EVP_PKEY, OpensslDeleter<EVP_PKEY_free>>;
using X509NamePtr = std::unique_ptr<X509_NAME, OpensslDeleter<X509_NAME_free>>;
using OpensslBytes = std::unique_ptr<unsigned char, OpensslDeleter<freeBytes>>;
using OpensslText = std::unique_ptr<char, OpensslDeleter<freeText>>;
using Pkcs12Ptr = std::unique_ptr<PKCS12, OpensslDeleter<PKCS12_free>>;
using X509StoreCtxPtr = std::unique_ptr<X509_STORE_CTX, OpensslDeleter<X509_STORE_CTX_free>>;
using X509StorePtr = std::unique_ptr<X509_STORE, OpensslDeleter<X509_STORE_free>>;

}  // namespace quorvanti::provider

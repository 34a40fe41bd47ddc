// Verifies one signature again and again against a key store in memory with many trusted certificates, for whoever
// counts what finding the right one costs: warm_lookup CERTIFICATES COUNT.
#include <quorvanti/ssf.h>

#include <openssl/pem.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <string_view>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#endif

#include "providers/openssl/key_store.h"
#include "tests/speed/scene.h"

using namespace quorvanti;

namespace {

constexpr int warmUps = 3;
constexpr std::string_view storeName = "many";

// Certificates that differ from the issuer's in their serial number, the issuer's own in the middle. That their
// signatures are wrong is nothing a key store asks about.
speed::Bytes imageWith(X509* certificate, long count) {
    unsigned char* encoded = nullptr;
    const int length = i2d_X509(certificate, &encoded);
    speed::Bytes der(encoded, encoded + length);
    OPENSSL_free(encoded);
    const ASN1_INTEGER* serial = X509_get0_serialNumber(certificate);
    const std::span number(serial->data, static_cast<std::size_t>(serial->length));
    const auto place = std::search(der.begin(), der.end(), number.begin(), number.end()) + number.size() / 2;
    const std::array<std::uint8_t, 2> own{place[0], place[1]};
    const speed::Bio image(BIO_new(BIO_s_mem()));
    for (long i = 0; i < count; ++i) {
        place[0] = i == count / 2 ? own[0] : static_cast<std::uint8_t>(i >> 8);
        place[1] = i == count / 2 ? own[1] : static_cast<std::uint8_t>(i);
        PEM_write_bio(image.get(), "CERTIFICATE", "", der.data(), length);
    }
    return speed::bytesOf(image.get());
}

struct Verification {
    speed::Ticket ticket;

    bool operator()() const {
        SsfSigRcpSsfInfoList* signers = nullptr;
        std::uint8_t* output = nullptr;
        std::int32_t outputLength = 0;
        const std::int32_t code =
            SsfVerify("PKCS7", 5, 1, ticket.signature.data(), static_cast<std::int32_t>(ticket.signature.size()),
                      ticket.content.data(), static_cast<std::int32_t>(ticket.content.size()), storeName.data(),
                      static_cast<std::int32_t>(storeName.size()), nullptr, 0, &signers, &output, &outputLength);
        SsfDELSigRcpSsfInfoList(&signers);
        return code == SSF_API_OK;
    }
};

}  // namespace

// Exported and never inlined, for the profiler's sake.
extern "C" QUORVANTI_SSF_API bool quorvantiCountedCalls(const void* call, long count);
extern "C" bool quorvantiCountedCalls(const void* call, long count) {
    const auto& verify = *static_cast<const Verification*>(call);
    bool accepted = true;
    for (long i = 0; i < count; ++i) {
        accepted = verify() && accepted;
    }
    return accepted;
}

int main(int count, char** arguments) {
    if (count != 3) {
        return 2;
    }
    const Verification verify{speed::Ticket("ec-bare", "ec.pem")};
    const speed::X509Ptr certificate = verify.ticket.certificate();
    const speed::Bytes image = imageWith(certificate.get(), std::atol(arguments[1]));
    if (provider::registerMemoryKeyStore(storeName, image) != SSF_API_OK) {
        return 1;
    }
    CALLGRIND_START_INSTRUMENTATION;  // not earlier: reading ten thousand certificates takes its time
    bool accepted = true;
    for (int i = 0; i < warmUps; ++i) {
        accepted = verify() && accepted;
    }
    bool (*volatile counted)(const void*, long) = quorvantiCountedCalls;  // called, not moved here
    accepted = counted(&verify, std::atol(arguments[2])) && accepted;
    provider::forgetKeyStores();
    return accepted ? 0 : 1;
}

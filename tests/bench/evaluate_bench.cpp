// One ticket evaluated, as a whole public call, beside what is at its bottom (the bare signature operation with a
// prepared context) and beside what the toolkit offers for the same signature. All in one run; only ratios mean
// anything.
#include <quorvanti/voraksso.h>

#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <benchmark/benchmark.h>
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/x509_vfy.h>

#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>

namespace {

using namespace quorvanti::test;

template <auto release>
struct Releaser {
    template <typename T>
    void operator()(T* thing) const {
        release(thing);
    }
};
using Bio = std::unique_ptr<BIO, Releaser<BIO_free_all>>;
using Cms = std::unique_ptr<CMS_ContentInfo, Releaser<CMS_ContentInfo_free>>;
using Pkcs7 = std::unique_ptr<PKCS7, Releaser<PKCS7_free>>;
using Store = std::unique_ptr<X509_STORE, Releaser<X509_STORE_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Releaser<EVP_PKEY_CTX_free>>;

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

// An issuer, its key store in a file that was seen once, and a ticket in one of the two forms: bare (no certificate, no
// attributes) or full (both).
struct Scene {
    explicit Scene(KeyKind kind)
        : issuer(kind), builder(TicketBuilder::logon(std::time(nullptr))), content(builder.signedBytes()) {
        profile = directory.file("issuer.pem");
        writeFile(profile, issuer.certificatePem());
        const SignOptions bare{"sha256", false, false};
        bareSignature = issuer.sign(content, bare);
        fullSignature = issuer.sign(content);
        bareTicket = ticketText(content, bareSignature);
        fullTicket = ticketText(content, fullSignature);
    }

    TemporaryDirectory directory;
    InProcessIssuer issuer;
    TicketBuilder builder;
    Bytes content;
    std::string profile;
    Bytes bareSignature, fullSignature;
    std::string bareTicket, fullTicket;
};

Scene& scene(KeyKind kind) {
    static std::map<KeyKind, std::unique_ptr<Scene>> scenes;
    std::unique_ptr<Scene>& made = scenes[kind];
    if (made == nullptr) {
        require(VorakInitialize(nullptr) == VORAK_OK, "the library does not start");
        made = std::make_unique<Scene>(kind);
    }
    return *made;
}

void evaluateCall(benchmark::State& state, KeyKind kind, bool full) {
    const Scene& s = scene(kind);
    const std::string& ticket = full ? s.fullTicket : s.bareTicket;
    char user[64], systemId[16], client[8];
    for (auto _ : state) {
        std::uint32_t userLength = sizeof user, systemIdLength = sizeof systemId, clientLength = sizeof client;
        TICKET_INFO info{};
        info.struct_size = sizeof info;
        info.user = user;
        info.user_capacity = &userLength;
        info.system_id = systemId;
        info.system_id_capacity = &systemIdLength;
        info.client = client;
        info.client_capacity = &clientLength;
        require(VorakEvalLogonTicketEx(ticket.c_str(), s.profile.c_str(), nullptr, nullptr, nullptr, &info) == VORAK_OK,
                "the ticket is not accepted");
    }
}

void bareVerify(benchmark::State& state, KeyKind kind) {
    const Scene& s = scene(kind);
    unsigned char digest[32];
    unsigned digestLength = sizeof digest;
    EVP_Digest(s.content.data(), s.content.size(), digest, &digestLength, EVP_sha256(), nullptr);
    const KeyContext signer(EVP_PKEY_CTX_new_from_pkey(nullptr, s.issuer.key(), nullptr));
    unsigned char signature[512];
    std::size_t length = sizeof signature;
    require(EVP_PKEY_sign_init(signer.get()) == 1 && EVP_PKEY_CTX_set_signature_md(signer.get(), EVP_sha256()) == 1 &&
                EVP_PKEY_sign(signer.get(), signature, &length, digest, digestLength) == 1,
            "sign");
    const KeyContext context(EVP_PKEY_CTX_new_from_pkey(nullptr, s.issuer.key(), nullptr));
    require(EVP_PKEY_verify_init(context.get()) == 1 && EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256()) == 1,
            "verify");
    for (auto _ : state) {
        require(EVP_PKEY_verify(context.get(), signature, length, digest, digestLength) == 1, "not verified");
    }
}

Store trusting(X509* certificate) {
    Store store(X509_STORE_new());
    X509_STORE_add_cert(store.get(), certificate);
    X509_STORE_set_purpose(store.get(), X509_PURPOSE_ANY);
    return store;
}

void pkcs7Verify(benchmark::State& state, KeyKind kind, bool full) {
    const Scene& s = scene(kind);
    const Bytes& signature = full ? s.fullSignature : s.bareSignature;
    const Store store = trusting(s.issuer.certificate());
    STACK_OF(X509)* signers = sk_X509_new_null();
    sk_X509_push(signers, s.issuer.certificate());
    const int flags = PKCS7_BINARY | (full ? 0 : PKCS7_NOVERIFY);
    for (auto _ : state) {
        const unsigned char* der = signature.data();
        const Pkcs7 pkcs7(d2i_PKCS7(nullptr, &der, static_cast<long>(signature.size())));
        const Bio in(BIO_new_mem_buf(s.content.data(), static_cast<int>(s.content.size())));
        require(PKCS7_verify(pkcs7.get(), full ? nullptr : signers, store.get(), in.get(), nullptr, flags) == 1,
                "PKCS7_verify");
    }
    sk_X509_free(signers);
}

void cmsVerify(benchmark::State& state, KeyKind kind) {
    const Scene& s = scene(kind);
    const Store store = trusting(s.issuer.certificate());
    for (auto _ : state) {
        const unsigned char* der = s.fullSignature.data();
        const Cms cms(d2i_CMS_ContentInfo(nullptr, &der, static_cast<long>(s.fullSignature.size())));
        const Bio in(BIO_new_mem_buf(s.content.data(), static_cast<int>(s.content.size())));
        require(CMS_verify(cms.get(), nullptr, store.get(), in.get(), nullptr, CMS_BINARY) == 1, "CMS_verify");
    }
}

#define QUORVANTI_BENCH_KEY(name, kind)                                                                 \
    BENCHMARK_CAPTURE(bareVerify, name, kind)->Repetitions(11)->ReportAggregatesOnly();                 \
    BENCHMARK_CAPTURE(evaluateCall, name##_bare, kind, false)->Repetitions(11)->ReportAggregatesOnly(); \
    BENCHMARK_CAPTURE(evaluateCall, name##_full, kind, true)->Repetitions(11)->ReportAggregatesOnly();  \
    BENCHMARK_CAPTURE(pkcs7Verify, name##_bare, kind, false)->Repetitions(11)->ReportAggregatesOnly();  \
    BENCHMARK_CAPTURE(pkcs7Verify, name##_full, kind, true)->Repetitions(11)->ReportAggregatesOnly();   \
    BENCHMARK_CAPTURE(cmsVerify, name##_full, kind)->Repetitions(11)->ReportAggregatesOnly()
QUORVANTI_BENCH_KEY(rsa2048, KeyKind::rsa);
QUORVANTI_BENCH_KEY(p256, KeyKind::ec);
QUORVANTI_BENCH_KEY(dsa2048, KeyKind::dsa);

}  // namespace

// One assertion ticket issued, as a whole public call, beside the bare signature operation with a prepared context and
// beside what the toolkit offers for such a signature. All in one run; only ratios mean anything.
#include <quorvanti/voraksso.h>

#include <benchmark/benchmark.h>

#include <cstring>

#include "tests/speed/scene.h"

namespace {

using namespace quorvanti::speed;

constexpr const char* password = "opensesame";

struct Identity {
    Identity() : key(keyOf(dataFile("issuer.p12"), password)), certificate(certificateOf(dataFile("rsa.pem"))) {}
    Key key;
    X509Ptr certificate;
};

const Identity& identity() {
    static const Identity made;
    return made;
}

void issue(benchmark::State& state) {
    const std::string keyStore = dataFile("issuer.p12");
    const std::string user = "JDOE", systemId = "QAS", client = "100";
    const auto userLength = static_cast<std::uint32_t>(user.size());
    const auto systemIdLength = static_cast<std::uint32_t>(systemId.size());
    const auto clientLength = static_cast<std::uint32_t>(client.size());
    AssertionContent content{};
    content.structSize = sizeof content;
    std::memcpy(content.codePage, "4110", sizeof content.codePage);
    content.user = user.data();
    content.userLength = &userLength;
    content.recipientSysId = systemId.data();
    content.recipientSysIdLength = &systemIdLength;
    content.recipientClient = client.data();
    content.recipientClientLength = &clientLength;
    std::array<char, 4096> ticket;
    for (auto _ : state) {
        auto length = static_cast<std::uint32_t>(ticket.size());
        require(VorakCreateAssertionTicket("WEB", "100", keyStore.c_str(), password, &content, ticket.data(),
                                           &length) == VORAK_OK,
                "no ticket was issued");
    }
}

void bareSign(benchmark::State& state) {
    const Digest digest = sha256({1, 2, 3});
    const KeyContext context(EVP_PKEY_CTX_new_from_pkey(nullptr, identity().key.get(), nullptr));
    require(EVP_PKEY_sign_init(context.get()) == 1 && EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256()) == 1,
            "sign");
    std::array<unsigned char, 512> signature;
    for (auto _ : state) {
        std::size_t length = signature.size();
        require(EVP_PKEY_sign(context.get(), signature.data(), &length, digest.data(), digest.size()) == 1,
                "signature");
    }
}

void cmsSign(benchmark::State& state) {
    const Bytes content = Ticket("rsa-bare", "rsa.pem").content;
    for (auto _ : state) {
        const Bio in(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
        const Cms cms(CMS_sign(identity().certificate.get(), identity().key.get(), nullptr, in.get(),
                               CMS_BINARY | CMS_DETACHED | CMS_NOSMIMECAP | CMS_NOCERTS));
        const Bio out(BIO_new(BIO_s_mem()));
        require(cms != nullptr && i2d_CMS_bio(out.get(), cms.get()) == 1, "CMS_sign");
    }
}

const bool registered = [] {
    require(VorakInitialize(nullptr) == VORAK_OK && QuorvantiSetProperty("SSF_HASH", "SHA256") == VORAK_OK,
            "the library does not start");
    benchmark::RegisterBenchmark("rsa/bare_sign", bareSign);
    benchmark::RegisterBenchmark("rsa/issue", issue);
    benchmark::RegisterBenchmark("rsa/cms_sign", cmsSign);
    return true;
}();

}  // namespace

// One ticket evaluated, as a whole public call, beside what is at its bottom (the bare signature operation with a
// prepared context) and beside what the toolkit offers for the same signature. All in one run; only ratios mean
// anything.
#include <quorvanti/voraksso.h>

#include <benchmark/benchmark.h>
#include <openssl/cms.h>
#include <openssl/pkcs7.h>
#include <openssl/x509_vfy.h>

#include "tests/speed/scene.h"

namespace {

using namespace quorvanti::speed;

void evaluate(const Ticket& ticket) {
    char user[64], systemId[16], client[8];
    std::uint32_t userLength = sizeof user, systemIdLength = sizeof systemId, clientLength = sizeof client;
    TICKET_INFO info{};
    info.struct_size = sizeof info;
    info.user = user;
    info.user_capacity = &userLength;
    info.system_id = systemId;
    info.system_id_capacity = &systemIdLength;
    info.client = client;
    info.client_capacity = &clientLength;
    require(VorakEvalLogonTicketEx(ticket.text.c_str(), ticket.keyStore.c_str(), ticket.password, nullptr, nullptr,
                                   &info) == VORAK_OK,
            "the ticket is not accepted");
}

void evaluation(benchmark::State& state, const Ticket& ticket) {
    for (auto _ : state) {
        evaluate(ticket);
    }
}

// More certificates than the library remembers, so that each comes as if for the first time.
void firstSeen(benchmark::State& state) {
    static const std::vector<Ticket> tickets = chainedTickets(256);
    std::size_t next = 0;
    for (auto _ : state) {
        evaluate(tickets[next]);
        next = (next + 1) % tickets.size();
    }
}

// What was signed without attributes: the digest of the content itself.
void bareVerify(benchmark::State& state, const Ticket& ticket) {
    const Digest digest = sha256(ticket.content);
    const Bytes signature = ticket.bareSignature();
    const Key key = ticket.key();
    const KeyContext context(EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr));
    require(EVP_PKEY_verify_init(context.get()) == 1 && EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256()) == 1,
            "verify");
    for (auto _ : state) {
        require(EVP_PKEY_verify(context.get(), signature.data(), signature.size(), digest.data(), digest.size()) == 1,
                "not verified");
    }
}

Store trusting(const Ticket& ticket) {
    Store store(X509_STORE_new());
    X509_STORE_add_cert(store.get(), ticket.certificate().get());
    X509_STORE_set_purpose(store.get(), X509_PURPOSE_ANY);
    return store;
}

// A signature without certificate is checked with the one supplied, which nobody chains.
void pkcs7Verify(benchmark::State& state, const Ticket& ticket, bool carried) {
    const Store store = trusting(ticket);
    const X509Ptr certificate = ticket.certificate();
    const Certificates supplied(sk_X509_new_null());
    sk_X509_push(supplied.get(), certificate.get());
    const int flags = PKCS7_BINARY | (carried ? 0 : PKCS7_NOVERIFY);
    for (auto _ : state) {
        const unsigned char* der = ticket.signature.data();
        const Pkcs7 pkcs7(d2i_PKCS7(nullptr, &der, static_cast<long>(ticket.signature.size())));
        const Bio in(BIO_new_mem_buf(ticket.content.data(), static_cast<int>(ticket.content.size())));
        require(
            PKCS7_verify(pkcs7.get(), carried ? nullptr : supplied.get(), store.get(), in.get(), nullptr, flags) == 1,
            "PKCS7_verify");
    }
}

void cmsVerify(benchmark::State& state, const Ticket& ticket) {
    const Store store = trusting(ticket);
    for (auto _ : state) {
        const unsigned char* der = ticket.signature.data();
        const Cms cms(d2i_CMS_ContentInfo(nullptr, &der, static_cast<long>(ticket.signature.size())));
        const Bio in(BIO_new_mem_buf(ticket.content.data(), static_cast<int>(ticket.content.size())));
        require(CMS_verify(cms.get(), nullptr, store.get(), in.get(), nullptr, CMS_BINARY) == 1, "CMS_verify");
    }
}

template <typename Function, typename... Arguments>
void add(const std::string& name, Function function, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { function(state, arguments...); });
}

const bool registered = [] {
    require(VorakInitialize(nullptr) == VORAK_OK, "the library does not start");
    static std::vector<std::unique_ptr<Ticket>> tickets;
    const auto keep = [](const std::string& name, const std::string& keyStore) {
        return std::ref(*tickets.emplace_back(std::make_unique<Ticket>(name, keyStore)));
    };
    for (const std::string key : {"rsa", "ec", "dsa"}) {
        const auto bare = keep(key + "-bare", key + ".pem");
        const auto full = keep(key + "-full", key + ".pem");
        add(key + "/bare_verify", bareVerify, bare);
        add(key + "/evaluate_plain", evaluation, bare);
        add(key + "/evaluate_certificate", evaluation, full);
        add(key + "/pkcs7_plain", pkcs7Verify, bare, false);
        add(key + "/pkcs7_certificate", pkcs7Verify, full, true);
        add(key + "/cms_certificate", cmsVerify, full);
    }
    const auto password = keep("rsa-bare", "issuer.p12");
    password.get().password = "opensesame";
    add("rsa/evaluate_password", evaluation, password);
    add("rsa/evaluate_chained", evaluation, keep("chained", "chained.pem"));
    benchmark::RegisterBenchmark("rsa/evaluate_first_seen", firstSeen);
    return true;
}();

}  // namespace

// How many pieces of memory one warm evaluation takes, counted where all of them pass: in the C library's functions.
#include <quorvanti/voraksso.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "tests/speed/scene.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

thread_local long allocations = 0;

}  // namespace

extern "C" void* malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t count, std::size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}
extern "C" void* realloc(void* memory, std::size_t size) {
    ++allocations;
    return __libc_realloc(memory, size);
}

namespace quorvanti::speed {
namespace {

template <typename Function>
long allocationsOf(Function function) {
    function();
    function();
    function();
    const long before = allocations;
    function();
    return allocations - before;
}

long ofEvaluation(const Ticket& ticket) {
    return allocationsOf([&] {
        std::array<char, 64> user;
        auto userLength = static_cast<std::uint32_t>(user.size());
        TICKET_INFO info{};
        info.struct_size = sizeof info;
        info.user = user.data();
        info.user_capacity = &userLength;
        EXPECT_EQ(VorakEvalLogonTicketEx(ticket.text.c_str(), ticket.keyStore.c_str(), ticket.password, nullptr,
                                         nullptr, &info),
                  VORAK_OK);
    });
}

// The toolkit's own, in the bare signature operation with a prepared context.
long ofBareVerification(const Ticket& ticket) {
    const Digest digest = sha256(ticket.content);
    const Bytes signature = ticket.bareSignature();
    const Key key = ticket.key();
    const KeyContext context(EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr));
    EXPECT_EQ(EVP_PKEY_verify_init(context.get()), 1);
    EXPECT_EQ(EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256()), 1);
    return allocationsOf([&] {
        EXPECT_EQ(EVP_PKEY_verify(context.get(), signature.data(), signature.size(), digest.data(), digest.size()), 1);
    });
}

class AllocationCount : public ::testing::TestWithParam<const char*> {
protected:
    AllocationCount() { EXPECT_EQ(VorakInitialize(nullptr), VORAK_OK); }
    ~AllocationCount() override { VorakShutdown(); }

    // What the crypto library hands out: the encoded content, the list of signers and its entry. The ticket's units lie
    // in the list's own room. OpenSSL 3.0 makes the state of a digest anew for each digest.
    static void expectOursToBeWhatIsHandedOut(long counted, long digests) {
        constexpr long ours = 3;
        EXPECT_GE(counted, ours) << "allocations are not counted";
        EXPECT_LE(counted, ours + digests);
    }
};

TEST_P(AllocationCount, IsWhatTheCryptoLibraryHandsOut) {
    const std::string key = GetParam();
    const Ticket plain(key + "-bare", key + ".pem");
    expectOursToBeWhatIsHandedOut(ofEvaluation(plain) - ofBareVerification(plain), 1);
}

// The arithmetic of RSA takes the same memory for every signature.
TEST_F(AllocationCount, IsTheSameForEveryFormOfATicket) {
    const Ticket plain("rsa-bare", "rsa.pem");
    const long toolkit = ofBareVerification(plain);
    Ticket withPassword("rsa-bare", "issuer.p12");
    withPassword.password = "opensesame";
    expectOursToBeWhatIsHandedOut(ofEvaluation(withPassword) - toolkit, 2);
    expectOursToBeWhatIsHandedOut(ofEvaluation(Ticket("rsa-full", "rsa.pem")) - toolkit, 2);
    expectOursToBeWhatIsHandedOut(ofEvaluation(Ticket("chained", "chained.pem")) - toolkit, 2);
}

INSTANTIATE_TEST_SUITE_P(Keys, AllocationCount, ::testing::Values("rsa", "ec", "dsa"),
                         [](const auto& key) { return std::string(key.param); });

}  // namespace
}  // namespace quorvanti::speed

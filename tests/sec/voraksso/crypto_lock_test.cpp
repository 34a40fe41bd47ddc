// The crypto library is called by one thread at a time: whoever calls it holds the crypto lock.
#include "sec/voraksso/state.h"
#include "tests/sec/jwt/token_maker.h"
#include "tests/sec/voraksso/engine_fixture.h"

#include <cstring>
#include <functional>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class CryptoLock : public EngineTest {
protected:
    CryptoLock() {
        crypto->hooks.anyCall = [this](const char* name) {
            ++calls_;
            if (libraryState().cryptoLock.count == 0) {
                withoutLock_ += std::string(name) + " ";
            }
        };
    }
    ~CryptoLock() override { crypto->hooks.anyCall = nullptr; }

    // The call reaches the crypto library, and never without the lock.
    void expectHeld(const char* function, const std::function<std::int32_t()>& call) {
        calls_ = 0;
        withoutLock_.clear();
        EXPECT_EQ(call(), VORAK_OK) << function;
        EXPECT_GT(calls_, 0) << function;
        EXPECT_EQ(withoutLock_, "") << function;
        EXPECT_EQ(libraryState().cryptoLock.count, 0) << function << " keeps no lock";
    }

private:
    int calls_ = 0;
    std::string withoutLock_;
};

TEST_F(CryptoLock, IsHeldByStartAndShutdown) {
    expectHeld("VorakShutdown", [] { return VorakShutdown(); });
    expectHeld("VorakInitialize", [this] { return VorakInitialize(crypto.path().c_str()); });
}

TEST_F(CryptoLock, IsHeldByEvaluationsAndHandles) {
    const std::string text = ticket(logon());
    FullRecord record;
    expectHeld("VorakEvalLogonTicketEx", [&] { return evaluate(text, record.info); });
    TICKET* handle = new_TICKET(1);
    ASSERT_EQ(TcktSetTicket(handle, text.c_str()), 1);
    expectHeld("TcktVerify", [&] { return TcktVerify(handle) == 1 ? VORAK_OK : VORAK_INVALID; });
    release_TICKET(&handle);
}

TEST_F(CryptoLock, IsHeldByKeysAndCertificates) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>("bytes");
    for (const std::uint32_t type : {VORAK_KEY_STORE, VORAK_KEY_CERTIFICATE, VORAK_KEY_HMAC}) {
        expectHeld("VorakLoadTicketKey", [&] { return VorakLoadTicketKey(bytes, 5, nullptr, 0, type); });
    }
    crypto->certificateTexts["SUBJECT"] = "CN=Somebody";
    std::uint8_t subject[32];
    std::int32_t length = sizeof subject;
    expectHeld("VorakParseCertificate", [&] { return VorakParseCertificate(bytes, 5, "SUBJECT", subject, &length); });
}

TEST_F(CryptoLock, IsHeldByAssertionsAndTokens) {
    const std::uint32_t three = 3;
    AssertionContent content{};
    content.structSize = sizeof content;
    std::memcpy(content.codePage, "1100", 4);
    content.recipientSysId = "SYS";
    content.recipientSysIdLength = &three;
    content.recipientClient = "000";
    content.recipientClientLength = &three;
    content.user = "JOE";
    content.userLength = &three;
    char text[4096];
    std::uint32_t length = sizeof text;
    expectHeld("VorakCreateAssertionTicket",
               [&] { return VorakCreateAssertionTicket("OWN", "000", "store.pse", nullptr, &content, text, &length); });
    const std::string token = makeToken(kHs256, R"({"sub":"joe"})");
    const auto* secret = reinterpret_cast<const std::uint8_t*>("secret");
    Evaluation evaluation;
    expectHeld("VorakEvalJWToken",
               [&] { return VorakEvalJWToken(token.data(), token.size(), secret, 6, nullptr, &evaluation.result); });
}

}  // namespace
}  // namespace quorvanti

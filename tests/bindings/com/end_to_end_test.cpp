// The class with the bundled crypto library: what is issued is accepted, with names of all alphabets.
#include "tests/bindings/com/com_client.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <ctime>

using namespace quorvanti::test;

namespace {

class ComEndToEnd : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(outcomeOf(tickets_->slot3(Bstr(std::string(QUORVANTI_CRYPTO_DLL)))), kSuccess); }
    ~ComEndToEnd() override {
        tickets_.reset();
        library_.find<std::int32_t()>("VorakShutdown")();
    }

    std::wstring file(const wchar_t* name, std::string_view content) {
        const std::filesystem::path path = directory_.path() / name;
        std::ofstream(path, std::ios::binary) << content;
        return path.wstring();
    }
    std::wstring keyStore(const wchar_t* name) {
        const Bytes content = issuer_.pkcs12("p\xC3\xA4ssword");
        return file(name, {reinterpret_cast<const char*>(content.data()), content.size()});
    }
    std::wstring create(const std::wstring& store, const wchar_t* user, const wchar_t* portalUser) {
        BstrResult ticket;
        const Bstr place = L"QAS";
        EXPECT_EQ(outcomeOf(tickets_->slot7(Bstr(L"DEV"), Bstr(L"200"), Bstr(store), Bstr(L"p\x00E4ssword"), place,
                                            Bstr(L"100"), Bstr(user), Bstr(L"E"), Bstr(portalUser), Bstr(L"basic"),
                                            ticket.place())),
                  kSuccess);
        std::wstring text = ticket.text();
        std::replace(text.begin(), text.end(), L'!', L'+');
        return text;
    }

    const ComLibrary library_;
    Held<TicketSlots> tickets_ = library_.create();
    const TemporaryDirectory directory_;
    const InProcessIssuer issuer_{KeyKind::ec, "\xC3\x84rger"};
};

TEST_F(ComEndToEnd, UsersAndFilesMayHaveAnyName) {
    const std::wstring store = keyStore(L"schl\x00FCssel.p12");
    const std::wstring trusted = file(L"vertraut \x00C4.pem", issuer_.certificatePem());
    const std::wstring ticket = create(store, L"J\x00FCrgen \x4E2D\xD83D\xDE00", L"\x0416\x0416");
    VariantResult userInfo;
    ASSERT_EQ(outcomeOf(tickets_->slot6(Bstr(ticket), Bstr(trusted), Bstr(L""), Bstr(L"QAS"), Bstr(L"100"),
                                        userInfo.place())),
              kSuccess);
    const std::vector<std::wstring> fields = userInfo.texts();
    EXPECT_EQ(fields.at(0), L"J\x00FCrgen \x4E2D\xD83D\xDE00");
    EXPECT_EQ(fields.at(1), L"200");
    EXPECT_EQ(fields.at(2), L"DEV");
    EXPECT_EQ(fields.at(3), L"");
    EXPECT_EQ(fields.at(4), L"\x0416\x0416");
}

TEST_F(ComEndToEnd, ACertificateComesOutOfATicketAndGoesBackIn) {
    const std::wstring trusted = file(L"trusted.pem", issuer_.certificatePem());
    const std::string ticket = issuer_.ticket(TicketBuilder::logon(std::time(nullptr)));
    VariantResult userInfo;
    ASSERT_EQ(outcomeOf(tickets_->slot1(Bstr(ticket), Bstr(trusted), Bstr(nullptr), userInfo.place())), kSuccess);
    const std::wstring certificate = userInfo.texts().at(3);
    const std::string der = base64(issuer_.certificateDer());
    EXPECT_EQ(certificate, std::wstring(der.begin(), der.end()));
    for (int request = 0; request < 9; ++request) {
        BstrResult text;
        EXPECT_EQ(outcomeOf(tickets_->slot4(Bstr(certificate), VariantResult(request).value(), text.place())), kSuccess)
            << request;
        EXPECT_FALSE(text.text().empty());
        if (request < 2) {
            EXPECT_EQ(text.text(), L"CN=\x00C4rger");
        }
    }
    // The key that an evaluation without a key store uses.
    ASSERT_EQ(outcomeOf(tickets_->slot8(Bstr(certificate), 0, 1)), kSuccess);
    VariantResult again;
    EXPECT_EQ(outcomeOf(tickets_->slot1(Bstr(ticket), Bstr(L""), Bstr(L""), again.place())), kSuccess);
    BstrResult user;
    BstrResult client;
    BstrResult systemId;
    BstrResult signer;
    EXPECT_EQ(outcomeOf(tickets_->slot2(Bstr(ticket), Bstr(L""), Bstr(L""), user.place(), client.place(),
                                        systemId.place(), signer.place())),
              kSuccess);
    EXPECT_EQ(user.text(), L"JDOE");
    EXPECT_EQ(signer.text(), certificate);
}

TEST_F(ComEndToEnd, AForeignSignatureIsRefused) {
    const std::wstring trusted = file(L"trusted.pem", issuer_.certificatePem());
    const InProcessIssuer stranger(KeyKind::ec, "stranger");
    VariantResult userInfo;
    EXPECT_EQ(outcomeOf(tickets_->slot1(Bstr(stranger.ticket(TicketBuilder::logon(std::time(nullptr)))), Bstr(trusted),
                                        Bstr(nullptr), userInfo.place())),
              (Outcome{0x80040001, L"Ticket verifying failed. Return codes error=1 and ssf error=0"}));
}

}  // namespace

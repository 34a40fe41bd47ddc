// EvalLogonTicket, EvalLogonTicket2 and EvalAssertionTicket, by their slots.
#include "tests/bindings/com/com_fixture.h"
#include "tests/support/temporary_directory.h"

using namespace quorvanti::test;
using testing::ElementsAre;

namespace {

const Outcome kConversion{0x80040016, L"Multibyte<->Wide char conversion impossible"};
const Outcome kRefused{0x80040001, L"Ticket verifying failed. Return codes error=1 and ssf error=0"};
const Outcome kEmptyTicket{0x80070057, L"Ticket buffer is empty"};
const Outcome kNoSystemId{0x80070057, L"System ID is required for Assertion Tickets"};
const Outcome kNoClient{0x80070057, L"System client is required for Assertion Tickets"};

class ComEvaluation : public ComTest {
protected:
    Outcome evalLogon(const Bstr& ticket, const Bstr& addressBook = L"keys.pse", const Bstr& password = L"secret") {
        return outcomeOf(tickets_->slot1(ticket, addressBook, password, userInfo_.place()));
    }
    Outcome evalAssertion(const Bstr& ticket, const Bstr& systemId = L"DEV", const Bstr& client = L"200") {
        return outcomeOf(
            tickets_->slot6(ticket, Bstr(L"keys.pse"), Bstr(L"secret"), systemId, client, userInfo_.place()));
    }
    Outcome evalLogon2(const Bstr& ticket, const Bstr& addressBook = L"keys.pse", const Bstr& password = L"secret") {
        return outcomeOf(tickets_->slot2(ticket, addressBook, password, user_.place(), client_.place(),
                                         systemId_.place(), certificate_.place()));
    }

    VariantResult userInfo_;
    BstrResult user_;
    BstrResult client_;
    BstrResult systemId_;
    BstrResult certificate_;
};

TEST_F(ComEvaluation, ALogonTicketGivesSevenTexts) {
    start();
    crypto_->signers[0].certificate = "ABCDE";
    const TicketBuilder ticket = ticketOf("JDOE", "PRD", "100").portalUser("jdoe").authScheme("basic");
    EXPECT_EQ(evalLogon(signedTicket(ticket)), kSuccess);
    const std::vector<std::wstring> fields = userInfo_.texts();
    EXPECT_THAT(fields, ElementsAre(L"JDOE", L"100", L"PRD", L"QUJDREU=", L"jdoe", L"basic", testing::_));
    const int secondsLeft = std::stoi(fields.at(6));
    EXPECT_TRUE(secondsLeft > 8 * 3600 - 120 && secondsLeft <= 8 * 3600) << secondsLeft;
    EXPECT_EQ(crypto_.argument("SsfVerify", "profile"), "keys.pse");
    EXPECT_EQ(crypto_.argument("SsfVerify", "password"), "secret");
}

TEST_F(ComEvaluation, AnAssertionTicketGivesNoCertificate) {
    start();
    const std::string ticket = signedTicket(TicketBuilder::assertion(std::time(nullptr), "DEV", "200"));
    EXPECT_EQ(evalAssertion(ticket), kSuccess);
    EXPECT_EQ(userInfo_.texts().size(), 7U);
    EXPECT_EQ(userInfo_.texts().at(3), L"");
    EXPECT_NE(userInfo_.texts().at(0), L"");
}

TEST_F(ComEvaluation, ALogonTicketWithoutACertificateGivesAnEmptyOne) {
    start();
    crypto_->signers[0].certificate = std::nullopt;
    const Outcome outcome = evalLogon(logon());
    // The engine decides whether that is a ticket; what is handed out must fit its answer.
    EXPECT_TRUE(outcome == kRefused || (outcome == kSuccess && userInfo_.texts().at(3).empty()));
}

TEST_F(ComEvaluation, ACertificateOf4096BytesArrivesAndALongerOneDoesNot) {
    start();
    crypto_->signers[0].certificate = std::string(4096, 'x');
    EXPECT_EQ(evalLogon(logon()), kSuccess);
    EXPECT_EQ(userInfo_.texts().at(3).size(), 5464U);
    crypto_->signers[0].certificate = std::string(4097, 'x');
    VariantResult second;
    EXPECT_EQ(outcomeOf(tickets_->slot1(Bstr(logon()), Bstr(L"keys.pse"), Bstr(nullptr), second.place())), kRefused);
    EXPECT_EQ(second.type(), VT_EMPTY);
}

TEST_F(ComEvaluation, TheUserOfAPortalIsUserEnough) {
    start();
    EXPECT_EQ(evalLogon(signedTicket(ticketOf("", "PRD", "100").portalUser("jdoe"))), kSuccess);
    EXPECT_EQ(userInfo_.texts().at(0), L"");
    EXPECT_EQ(userInfo_.texts().at(4), L"jdoe");
}

TEST_F(ComEvaluation, WhatACallerCannotDoWithoutIsAsked) {
    start();
    EXPECT_EQ(evalLogon(signedTicket(ticketOf("", "PRD", "100"))), (Outcome{0x80040000, L"Ticket contains no user."}));
    EXPECT_EQ(evalLogon(signedTicket(ticketOf("JDOE", "", "100"))),
              (Outcome{0x80040000, L"Ticket contains no sysid."}));
    EXPECT_EQ(evalLogon(signedTicket(ticketOf("JDOE", "PRD", ""))),
              (Outcome{0x80040000, L"Ticket contains no client."}));
    EXPECT_EQ(userInfo_.type(), VT_EMPTY);
}

// Whatever the reason is.
TEST_F(ComEvaluation, ARefusalIsToldAsOneAndZero) {
    EXPECT_EQ(evalLogon(logon()), kRefused);  // not initialized
    start();
    crypto_->functions["SsfVerify"].result = 5;
    crypto_->signers[0].result = 25;
    EXPECT_EQ(evalLogon(logon()), kRefused);
    crypto_->functions["SsfVerify"].result = 0;
    crypto_->signers[0].result = 0;
    EXPECT_EQ(evalLogon(L"no base64 at all!"), kRefused);
    EXPECT_EQ(evalLogon(signedTicket(TicketBuilder::logon(std::time(nullptr) - 10 * 3600))), kRefused);
    const std::string assertion = signedTicket(TicketBuilder::assertion(std::time(nullptr), "DEV", "200"));
    EXPECT_EQ(evalAssertion(assertion, L"QAS"), kRefused);
    EXPECT_EQ(evalAssertion(logon()), kRefused);
    EXPECT_EQ(userInfo_.type(), VT_EMPTY);
}

TEST_F(ComEvaluation, NullAndEmptyTicketsAreNoTickets) {
    start();
    for (const Bstr& nothing : {Bstr(nullptr), Bstr(L"")}) {
        EXPECT_EQ(evalLogon(nothing), kEmptyTicket);
        EXPECT_EQ(evalAssertion(nothing), kEmptyTicket);
    }
    EXPECT_EQ(crypto_.calls("SsfVerify"), 0);
}

TEST_F(ComEvaluation, AnAssertionTicketNeedsASystemAndAClient) {
    start();
    for (const Bstr& nothing : {Bstr(nullptr), Bstr(L"")}) {
        EXPECT_EQ(evalAssertion(L"AAAA", nothing, nothing), kNoSystemId);
        EXPECT_EQ(evalAssertion(nullptr, L"DEV", nothing), kNoClient);
    }
}

TEST_F(ComEvaluation, AbsentKeyStoreAndPasswordArriveAsNone) {
    start();
    ASSERT_EQ(outcomeOf(tickets_->slot8(Bstr(L"key"), 0, 1)), kSuccess);  // what an evaluation without key store uses
    for (const Bstr& nothing : {Bstr(nullptr), Bstr(L"")}) {
        EXPECT_EQ(evalLogon(logon(), nothing, nothing), kSuccess);
        EXPECT_THAT(crypto_.argument("SsfVerify", "profile"), testing::Not(""));
        EXPECT_EQ(crypto_.argument("SsfVerify", "password"), "");
    }
}

TEST_F(ComEvaluation, ATextThatDoesNotFitItsBufferIsNotCut) {
    start();
    EXPECT_EQ(evalLogon(logon(), std::wstring(127, L'k'), std::wstring(127, L'p')), kSuccess);
    EXPECT_EQ(crypto_.argument("SsfVerify", "profile"), std::string(127, 'k'));
    EXPECT_EQ(evalLogon(logon(), std::wstring(128, L'k')), kConversion);
    EXPECT_EQ(evalLogon(logon(), L"keys.pse", std::wstring(128, L'p')), kConversion);
    EXPECT_EQ(evalLogon(logon(), L"keys.pse", std::wstring(64, L'\x00FC')), kConversion);  // 128 bytes as UTF-8
    EXPECT_EQ(evalAssertion(L"AAAA", std::wstring(128, L'S')), kConversion);
    EXPECT_EQ(evalAssertion(L"AAAA", L"DEV", std::wstring(128, L'1')), kConversion);
    EXPECT_EQ(evalLogon(std::wstring(8191, L'A')), kRefused);
    EXPECT_EQ(evalLogon(std::wstring(8192, L'A')), kConversion);
    EXPECT_EQ(evalLogon2(std::wstring(8192, L'A')), kConversion);
    EXPECT_EQ(evalLogon2(L"AAAA", std::wstring(128, L'k')), kConversion);
    EXPECT_EQ(evalLogon2(L"AAAA", L"keys.pse", std::wstring(128, L'p')), kConversion);
}

// It would be cut there, and the rest be nobody's business.
TEST_F(ComEvaluation, ATextWithAZeroInsideIsRefused) {
    start();
    const std::string ticket = logon();
    EXPECT_EQ(evalLogon(std::wstring(ticket.begin(), ticket.end()) + L'\0' + L"more"), kConversion);
    EXPECT_EQ(evalLogon(logon(), std::wstring_view(L"keys\0.pse", 9)), kConversion);
    EXPECT_EQ(evalLogon(logon(), L"keys.pse", std::wstring_view(L"a\0b", 3)), kConversion);
    EXPECT_EQ(evalAssertion(L"AAAA", std::wstring_view(L"DEV\0", 4)), kConversion);
    EXPECT_EQ(evalLogon2(std::wstring_view(L"AAAA\0", 5)), kConversion);
    EXPECT_EQ(crypto_.calls("SsfVerify"), 0);
}

TEST_F(ComEvaluation, HalfACharacterIsNoText) {
    start();
    EXPECT_EQ(evalLogon(logon(), L"keys.pse", L"pass\xD83D"), kConversion);
}

TEST_F(ComEvaluation, ANameThatTheSystemCannotSpellIsNotReplacedByAnother) {
    if (GetACP() == CP_UTF8) {
        GTEST_SKIP() << "every name can be spelled in this code page";
    }
    start();
    EXPECT_EQ(evalLogon(logon(), L"\x4E2D.pse"), kConversion);
}

TEST_F(ComEvaluation, TextsAreUnicodeOnBothSides) {
    start();
    // u umlaut, and a character beyond the first plane.
    EXPECT_EQ(evalLogon(signedTicket(ticketOf("J\xC3\xBCrgen", "PRD", "100").portalUser("\xF0\x9F\x98\x80")),
                        L"keys.pse", L"p\x00E4ss"),
              kSuccess);
    EXPECT_EQ(userInfo_.texts().at(0), L"J\x00FCrgen");
    EXPECT_EQ(userInfo_.texts().at(4), L"\xD83D\xDE00");
    EXPECT_EQ(crypto_.argument("SsfVerify", "password"), "p\xC3\xA4ss");
}

TEST_F(ComEvaluation, LogonTicket2GivesFourTexts) {
    start();
    crypto_->signers[0].certificate = "ABCDE";
    EXPECT_EQ(evalLogon2(logon()), kSuccess);
    EXPECT_EQ(user_.text(), L"JDOE");
    EXPECT_EQ(client_.text(), L"100");
    EXPECT_EQ(systemId_.text(), L"PRD");
    EXPECT_EQ(certificate_.text(), L"QUJDREU=");
}

TEST_F(ComEvaluation, LogonTicket2TellsTheCodes) {
    EXPECT_EQ(evalLogon2(logon()),
              (Outcome{0x80040009, L"Ticket verifying failed. Return codes error=9 and ssf error=0"}));
    start();
    EXPECT_EQ(evalLogon2(signedTicket(TicketBuilder::logon(std::time(nullptr) - 10 * 3600))),
              (Outcome{0x80040004, L"Ticket verifying failed. Return codes error=4 and ssf error=0"}));
    crypto_->functions["SsfVerify"].result = 5;
    crypto_->signers[0].result = 25;
    EXPECT_EQ(evalLogon2(logon()),
              (Outcome{0x80040005, L"Ticket verifying failed. Return codes error=5 and ssf error=25"}));
    EXPECT_TRUE(user_.null() && client_.null() && systemId_.null() && certificate_.null());
}

TEST_F(ComEvaluation, LogonTicket2WantsEverything) {
    start();
    const Outcome missing{0x80070057, L"vorakEvalLogonTicket2: One or more arguments are NULL"};
    EXPECT_EQ(evalLogon2(nullptr), missing);
    EXPECT_EQ(evalLogon2(L""), missing);
    EXPECT_EQ(evalLogon2(logon(), nullptr), missing);
    EXPECT_EQ(evalLogon2(logon(), L"keys.pse", nullptr), missing);
    const Bstr ticket = logon();
    const Bstr text = L"x";
    BSTR* const all[] = {user_.place(), client_.place(), systemId_.place(), certificate_.place()};
    for (int absent = 0; absent < 4; ++absent) {
        BSTR* places[4];
        for (int i = 0; i < 4; ++i) {
            places[i] = i == absent ? nullptr : all[i];
        }
        EXPECT_EQ(outcomeOf(tickets_->slot2(ticket, text, text, places[0], places[1], places[2], places[3])), missing);
    }
    EXPECT_EQ(crypto_.calls("SsfVerify"), 0);
}

TEST_F(ComEvaluation, WithoutAPlaceForTheResultNothingIsDone) {
    start();
    const Bstr text = L"AAAA";
    EXPECT_EQ(outcomeOf(tickets_->slot1(text, text, text, nullptr)).result, static_cast<std::uint32_t>(E_POINTER));
    EXPECT_EQ(outcomeOf(tickets_->slot6(text, text, text, text, text, nullptr)).result,
              static_cast<std::uint32_t>(E_POINTER));
    EXPECT_EQ(crypto_.calls("SsfVerify"), 0);
}

TEST_F(ComEvaluation, TheTraceTellsOfTheCallsAndOfTheRealCodes) {
    const TemporaryDirectory directory;
    start();
    ASSERT_EQ(outcomeOf(tickets_->slot9(Bstr(L"KAV_EXT_TRL"), Bstr(L"3"))), kSuccess);
    ASSERT_EQ(outcomeOf(tickets_->slot9(Bstr(L"KAV_EXT_TRC"), Bstr(directory.file("trace")))), kSuccess);
    evalLogon(signedTicket(TicketBuilder::logon(std::time(nullptr) - 10 * 3600)));
    evalLogon2(logon());
    evalAssertion(L"AAAA");
    ASSERT_EQ(outcomeOf(tickets_->slot9(Bstr(L"KAV_EXT_TRC"), Bstr(nullptr))), kSuccess);
    const std::string trace = readFile(directory.file("trace"));
    std::size_t at = 0;
    for (const char* const line :
         {"COM: EvalLogonTicket was called.", "Validation succeeded, but ticket expired.",
          "COM: End of EvalLogonTicket.", "COM: EvalLogonTicket2 was called.", "COM: EvalAssertionTicket was called.",
          "COM: End of EvalAssertionTicket.", "COM: SetProperty was called."}) {
        const std::size_t found = trace.find(line, at);
        if (found == std::string::npos) {
            ADD_FAILURE() << line << " is not, or not there, in\n" << trace;
            break;
        }
        at = found;
    }
    EXPECT_EQ(trace.find("COM: End of EvalLogonTicket2"), std::string::npos);
}

}  // namespace

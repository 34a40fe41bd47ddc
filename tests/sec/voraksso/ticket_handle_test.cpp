#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/voraksso/state.h"
#include "sec/voraksso/ticket_units.h"

#include <algorithm>
#include <memory>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

struct Release {
    void operator()(TICKET* ticket) const { release_TICKET(&ticket); }
};

class TicketHandle : public EngineTest {
protected:
    bool set(const std::string& text) { return TcktSetTicket(handle.get(), text.c_str()) == 1; }
    bool set(const TicketBuilder& builder) { return set(ticket(builder)); }
    std::uint32_t lastError() { return TcktGetLastError(handle.get()); }
    std::string unit(std::uint8_t id) {
        const TicketUnit* found = TcktGetInfoUnit(handle.get(), id);
        return found != nullptr ? textOf(&found->block) : "(null)";
    }
    std::string user(const char* application) { return textOf(TcktGetUser(handle.get(), application)); }
    static std::string textOf(const TicketBlock* block) {
        return block != nullptr ? std::string(block->data, block->data + block->length) : "(null)";
    }
    static TicketBuilder aged() { return TicketBuilder().creation(kNow).validityHours(1); }

    std::unique_ptr<TICKET, Release> handle{new_TICKET(2)};
};

TEST(NewTicket, KnowsTwoKinds) {
    for (const std::int32_t kind : {1, 2}) {
        TICKET* ticket = new_TICKET(kind);
        ASSERT_NE(ticket, nullptr);
        EXPECT_EQ(TcktGetLastError(ticket), 0u);
        release_TICKET(&ticket);
        EXPECT_EQ(ticket, nullptr);
    }
    EXPECT_EQ(new_TICKET(3), nullptr);
    EXPECT_EQ(new_TICKET(0), nullptr);
    EXPECT_EQ(new_TICKET(-1), nullptr);
}

TEST(NewTicket, NoHandleIsAnsweredEverywhere) {
    release_TICKET(nullptr);
    TICKET* none = nullptr;
    release_TICKET(&none);
    EXPECT_EQ(TcktSetTicket(nullptr, "x"), 0);
    EXPECT_EQ(TcktVerify(nullptr), 0);
    EXPECT_EQ(TcktGetInfoUnit(nullptr, 1), nullptr);
    EXPECT_EQ(TcktGetUser(nullptr, nullptr), nullptr);
    EXPECT_EQ(TcktGetAuthScheme(nullptr), nullptr);
    EXPECT_EQ(TcktGetValidity(nullptr), -1);
    EXPECT_EQ(TcktGetLastError(nullptr), 0u);
}

TEST_F(TicketHandle, GoesItsWay) {
    ASSERT_TRUE(set(aged().user("JDOE").portalUser("john").authScheme("basic")));
    EXPECT_EQ(unit(1), "JDOE");
    EXPECT_EQ(unit(2), "(null)");
    EXPECT_EQ(TcktVerify(handle.get()), 1);
    EXPECT_EQ(user("KAV"), "JDOE");
    EXPECT_EQ(user(nullptr), "john");
    EXPECT_EQ(textOf(TcktGetAuthScheme(handle.get())), "basic");
    EXPECT_EQ(TcktGetValidity(handle.get()), 3600);
    EXPECT_EQ(lastError(), 0u);
}

TEST_F(TicketHandle, WhatIsVerifiedIsEverythingBeforeTheSignature) {
    const TicketBuilder builder = aged().user("JDOE");
    ASSERT_TRUE(set(builder));
    ASSERT_EQ(TcktVerify(handle.get()), 1);
    const Bytes content = builder.signedBytes();
    EXPECT_EQ(crypto.argument("SsfEncode", "data"), std::string(content.begin(), content.end()));
    EXPECT_EQ(crypto.argument("SsfVerify", "signature"), "signature");
    EXPECT_EQ(crypto.argument("SsfVerify", "format"), "PKCS7");
    EXPECT_EQ(crypto.argument("SsfVerify", "password"), "");
}

// --- Setting

TEST_F(TicketHandle, ATextThatIsTooShortOrTruncatedIsMalformed) {
    const TraceCapture trace(2);
    EXPECT_FALSE(set("AAA"));
    EXPECT_EQ(lastError(), 5u);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"Ticket is                            AAA... ",
                                        "*** ERROR => DecodeB64len returns 1. iDecLength=0 [ssoxxext]"}));
    const std::string whole = ticket(aged().user("JDOE"));
    for (std::size_t length = 4; length + 4 < whole.size(); length += 4) {
        EXPECT_FALSE(set(whole.substr(0, length))) << length;
        EXPECT_EQ(lastError(), 5u);
    }
}

TEST_F(TicketHandle, OnlyTheBeginningOfATicketIsShown) {
    const TraceCapture trace(2);
    const std::string text = ticket(aged().user("JDOE"));
    ASSERT_TRUE(set(text));
    EXPECT_TRUE(hasLine(trace, "Ticket is " + text.substr(0, 30) + "... "));
    EXPECT_FALSE(trace.contains(text.substr(0, 31)));
}

TEST_F(TicketHandle, AForeignCharacterFailsAtTheEndWith3) {
    std::string text;
    for (std::string filler; text.empty() || text.ends_with('='); filler += 'x') {
        text = ticket(aged().user("JDOE" + filler).portalUser("john").authScheme("basic"));
    }
    EXPECT_TRUE(set(text + "AAAA")) << "bytes behind the signature do not matter to the parser";
    EXPECT_FALSE(set(text + "AAA!"));
    EXPECT_EQ(lastError(), 3u);
    EXPECT_EQ(user(nullptr), "(null)") << "what was read before the character is forgotten";
    EXPECT_EQ(TcktGetAuthScheme(handle.get()), nullptr);
    EXPECT_EQ(TcktGetValidity(handle.get()), -1);
    text[8] = '!';
    EXPECT_FALSE(set(text));
    EXPECT_EQ(lastError(), 5u) << "what was decoded up to there is no ticket";
}

TEST_F(TicketHandle, AFailedTicketLeavesNothingOfTheOneBefore) {
    ASSERT_TRUE(set(aged().user("JDOE")));
    EXPECT_FALSE(set("AAAA"));
    {
        const TraceCapture trace(1);
        EXPECT_EQ(unit(1), "(null)");
        EXPECT_TRUE(trace.contains("Cannot return InfoUnit (1) of unparsed ticket."));
    }
    EXPECT_EQ(TcktVerify(handle.get()), 0);
    EXPECT_EQ(TcktGetValidity(handle.get()), -1);
    ASSERT_TRUE(set(aged().user("JDOE")));
    EXPECT_EQ(lastError(), 0u);
}

TEST_F(TicketHandle, NoTextChangesNothing) {
    ASSERT_TRUE(set(aged().user("JDOE")));
    EXPECT_EQ(TcktSetTicket(handle.get(), nullptr), 0);
    EXPECT_EQ(unit(1), "JDOE");
    EXPECT_EQ(lastError(), 0u);
}

TEST_F(TicketHandle, AUnitMayBeLongerThan256Bytes) {
    const std::string contents(300, 'x');
    ASSERT_TRUE(set(aged().unit(0x70, contents)));
    EXPECT_EQ(unit(0x70), contents);
}

TEST_F(TicketHandle, OfTwoUnitsWithTheSameIdTheFirstInTheTicketIsReturned) {
    ASSERT_TRUE(set(aged().user("first").user("second")));
    EXPECT_EQ(unit(1), "first");
}

TEST_F(TicketHandle, ATicketWithMoreThan100UnitsKeepsTheFirst100) {
    const TraceCapture trace(2);
    TicketBuilder builder = aged();
    for (int i = 0; i < 98; ++i) {
        builder.unit(0x70, std::to_string(i));
    }
    builder.unit(0x71, "101st").unit(0x72, "102nd");
    ASSERT_TRUE(set(builder));
    EXPECT_EQ(unit(0x70), "0");
    EXPECT_EQ(unit(0x71), "(null)");
    EXPECT_EQ(TcktVerify(handle.get()), 1) << "the signature is found all the same";
    const std::vector<std::string> lines = trace.lines();
    EXPECT_EQ(
        std::count(lines.begin(), lines.end(), "VORAKSSO2 Ticket longer than expected. Cancel parsing at this point."),
        1);
}

TEST_F(TicketHandle, TheSignatureMustLieInsideTheTicket) {
    Bytes bytes = aged().signedBytes();
    bytes.insert(bytes.end(), {0xFF, 0x00, 0x09, 's', 'i', 'g'});
    EXPECT_FALSE(set(base64(bytes)));
    EXPECT_EQ(lastError(), 5u);
    bytes = aged().signedBytes();
    bytes.insert(bytes.end(), {0xFF, 0x00});
    EXPECT_FALSE(set(base64(bytes)));
}

TEST_F(TicketHandle, ATicketWithoutUnitsIsTakenAndItsAgeRefused) {
    ASSERT_TRUE(set(TicketBuilder()));
    EXPECT_EQ(TcktVerify(handle.get()), 0);
    EXPECT_EQ(lastError(), 4u);
}

// --- Verifying

TEST_F(TicketHandle, VerifyNeedsATicketFirst) {
    const TraceCapture trace(1);
    EXPECT_EQ(TcktVerify(handle.get()), 0);
    EXPECT_EQ(lastError(), 5u);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{"*** ERROR => Ticket has probably not yet been parsed. [ssoxxext]"});
}

TEST_F(TicketHandle, NothingBeforeTheSignatureIsNoTicket) {
    const TraceCapture trace(1);
    EXPECT_EQ(signedLengthOf(14, 10), 1u);
    EXPECT_EQ(signedLengthOf(13, 10), 0u);
    EXPECT_EQ(signedLengthOf(5, 10), 0u);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => Invalid ticket structure. RawContent length: 0, DerSignature "
                                        "length: 10. [ssoxxext]",
                                        "*** ERROR => Invalid ticket structure. RawContent length: -8, DerSignature "
                                        "length: 10. [ssoxxext]"}));
}

TEST_F(TicketHandle, IsVerifiedOnce) {
    const TraceCapture trace(1);
    ASSERT_TRUE(set(aged()));
    EXPECT_EQ(TcktVerify(handle.get()), 1);
    EXPECT_EQ(TcktVerify(handle.get()), 0);
    EXPECT_EQ(lastError(), 12u);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"*** ERROR => Ticket has not yet been parsed. [ssoxxext]"});
}

TEST_F(TicketHandle, ARefusedSignatureIs5) {
    const TraceCapture trace(1);
    ASSERT_TRUE(set(aged()));
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 22;
    EXPECT_EQ(TcktVerify(handle.get()), 0);
    EXPECT_EQ(lastError(), 5u);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Validate ticket failed with rc = 1441797 [ssoxxext]"));
}

TEST_F(TicketHandle, AnExpiredTicketIs4) {
    ASSERT_TRUE(set(aged()));
    FixedClock::set(kNow + 3660);
    EXPECT_EQ(TcktVerify(handle.get()), 0);
    EXPECT_EQ(lastError(), 4u);
}

TEST_F(TicketHandle, WithoutALibraryNothingIsVerified) {
    ASSERT_TRUE(set(aged()));
    VorakShutdown();
    EXPECT_EQ(TcktVerify(handle.get()), 0);
    EXPECT_EQ(lastError(), 5u);
}

// --- The key store

TEST_F(TicketHandle, VerifiesAgainstTheKeyStoreOfItsInitialization) {
    TcktShutdown();
    EXPECT_EQ(TcktInitializeEx(crypto.path().c_str(), "trusted.pse"), VORAK_OK);
    ASSERT_TRUE(set(aged()));
    EXPECT_EQ(TcktVerify(handle.get()), 1);
    EXPECT_EQ(crypto.argument("SsfVerify", "profile"), "trusted.pse");
    EXPECT_EQ(TcktInitializeEx(crypto.path().c_str(), "trailing blanks  "), VORAK_OK);
    ASSERT_TRUE(set(aged()));
    EXPECT_EQ(TcktVerify(handle.get()), 1);
    EXPECT_EQ(crypto.argument("SsfVerify", "profile"), "trailing blanks");
    EXPECT_EQ(TcktInitializeEx(crypto.path().c_str(), nullptr), VORAK_OK);
    EXPECT_EQ(libraryState().ticketKey.profileName[0], '\0');
}

TEST_F(TicketHandle, AKeyStoreNameThatIsTooLongIsRefusedAndNothingChanged) {
    EXPECT_EQ(TcktInitializeEx(crypto.path().c_str(), "trusted.pse"), VORAK_OK);
    EXPECT_EQ(TcktInitializeEx(crypto.path().c_str(), std::string(4096, 'k').c_str()), VORAK_INVALID);
    EXPECT_STREQ(libraryState().ticketKey.profileName, "trusted.pse");
    EXPECT_EQ(TcktInitializeEx(crypto.path().c_str(), std::string(4095, 'k').c_str()), VORAK_OK);
    EXPECT_EQ(std::string(libraryState().ticketKey.profileName), std::string(4095, 'k'));
}

TEST_F(TicketHandle, AShutdownForgetsTheKeyStore) {
    EXPECT_EQ(TcktInitializeEx(crypto.path().c_str(), "trusted.pse"), VORAK_OK);
    EXPECT_EQ(TcktShutdown(), VORAK_OK);
    EXPECT_EQ(libraryState().ticketKey.profileName[0], '\0');
    EXPECT_EQ(TcktInitialize(crypto.path().c_str()), VORAK_OK);
}

// --- What it says

TEST_F(TicketHandle, UnitsOfAnUnparsedTicketAreRefused) {
    const TraceCapture trace(1);
    EXPECT_EQ(TcktGetInfoUnit(handle.get(), 0x88), nullptr);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{"*** ERROR => Cannot return InfoUnit (88) of unparsed ticket. [ssoxxext]"});
}

TEST_F(TicketHandle, TheUserIsThatOfTheApplication) {
    ASSERT_TRUE(set(aged()
                        .user("JDOE")
                        .unit(0x22, "other:them")
                        .unit(0x21, "PORTAL:me")
                        .unit(0x20, "portal:first")
                        .unit(0x40, "gate:no")));
    EXPECT_EQ(user("kav"), "JDOE");
    EXPECT_EQ(user(nullptr), "me") << "in the order of the ticket, whatever the case";
    EXPECT_EQ(user("other"), "them");
    EXPECT_EQ(user("gate"), "portal:first") << "none matches: the last portal unit looked at, whole";
}

TEST_F(TicketHandle, AUserMustFollowItsPrefixAndSeparator) {
    ASSERT_TRUE(set(aged().unit(0x20, "portal:").unit(0x21, "portal:x")));
    EXPECT_EQ(user("portal"), "x");
    ASSERT_TRUE(set(aged().unit(0x20, "portal:")));
    EXPECT_EQ(user("portal"), "portal:");
}

TEST_F(TicketHandle, NoUserIsTracedWithoutTheWholeTicket) {
    const std::string text = ticket(aged());
    ASSERT_TRUE(set(text));
    {
        const TraceCapture trace(2);
        EXPECT_EQ(TcktGetUser(handle.get(), "portal"), nullptr);
        EXPECT_EQ(trace.lines(),
                  (std::vector<std::string>{"*** ERROR => Cannot find user for application portal [ssoxxext]",
                                            "Ticket is " + text.substr(0, 30) + "."}));
    }
    const TraceCapture trace(3);
    TcktGetUser(handle.get(), "portal");
    EXPECT_TRUE(hasLine(trace, "Ticket is " + text + "."));
    EXPECT_EQ(TcktGetUser(handle.get(), "KAV"), nullptr);
}

TEST_F(TicketHandle, NoAuthenticationSchemeIsTraced) {
    const TraceCapture trace(2);
    ASSERT_TRUE(set(aged()));
    EXPECT_EQ(TcktGetAuthScheme(handle.get()), nullptr);
    EXPECT_TRUE(trace.contains("Cannot find authscheme."));
}

// --- Age

TEST_F(TicketHandle, TheCreationTimeIsTakenAsItStandsUpToThirteenBytes) {
    ASSERT_TRUE(set(TicketBuilder().creation("2026031509050").validityHours(1)));
    EXPECT_EQ(TcktGetValidity(handle.get()), 3600);
    ASSERT_TRUE(set(TicketBuilder().creation("20260315090500").validityHours(1)));
    EXPECT_EQ(TcktGetValidity(handle.get()), -1) << "one of fourteen counts as empty";
    EXPECT_EQ(lastError(), 5u);
    ASSERT_TRUE(set(TicketBuilder().creation("20260315").validityHours(1)));
    EXPECT_EQ(TcktGetValidity(handle.get()), -1);
}

TEST_F(TicketHandle, WithoutCreationTimeOrExpiredTheAgeIs4) {
    ASSERT_TRUE(set(TicketBuilder().validityHours(1)));
    EXPECT_EQ(TcktGetValidity(handle.get()), -1);
    EXPECT_EQ(lastError(), 4u);
    ASSERT_TRUE(set(aged()));
    FixedClock::set(kNow + 3600);
    EXPECT_EQ(TcktGetValidity(handle.get()), 0) << "exactly at its limit";
    FixedClock::set(kNow + 3660);
    EXPECT_EQ(TcktGetValidity(handle.get()), -1);
    EXPECT_EQ(lastError(), 4u);
}

TEST_F(TicketHandle, ARemainderBeyond32BitsIsTheWholeValidity) {
    ASSERT_TRUE(set(TicketBuilder().creation("999912312359").validityHours(1)));
    EXPECT_EQ(TcktGetValidity(handle.get()), 3600);
}

TEST_F(TicketHandle, MinutesCountBelowAnHourOnly) {
    ASSERT_TRUE(set(TicketBuilder().creation(kNow).validityHours(0).validityMinutes(90)));
    EXPECT_EQ(TcktGetValidity(handle.get()), 1800);
}

TEST_F(TicketHandle, TheAgeIsTracedAsThatOfAnEvaluatedTicket) {
    ASSERT_TRUE(set(TicketBuilder().creation(kNow).validityHours(0).validityMinutes(90)));
    {
        const TraceCapture trace(2);
        TcktGetValidity(handle.get());
        EXPECT_EQ(trace.lines(),
                  (std::vector<std::string>{"Got date 202603150905 from ticket.", "Cur time = 202603150905.",
                                            "Computing validity in hours.", "Computing validity in minutes.",
                                            "CurTime_t = 1773651900, CreTime_t = 1773651900 ",
                                            "validity: 1800, difference:      0.000."}));
    }
    for (const auto& [creation, shown] :
         {std::pair{"20260315", "    20260315"}, {"", "            "}, {"20260315090500", "            "}}) {
        ASSERT_TRUE(set(TicketBuilder().creation(creation).validityHours(1).user("behind it")));
        const TraceCapture trace(2);
        TcktGetValidity(handle.get());
        EXPECT_EQ(trace.lines(), std::vector<std::string>{std::string("Got date ") + shown + " from ticket."});
    }
    ASSERT_TRUE(set(TicketBuilder().creation(kNow)));
    const TraceCapture trace(2);
    EXPECT_EQ(TcktGetValidity(handle.get()), -1);
    EXPECT_EQ(lastError(), 5u) << "nothing says how long it is valid";
    EXPECT_EQ(trace.lines(), std::vector<std::string>{});
}

}  // namespace
}  // namespace quorvanti

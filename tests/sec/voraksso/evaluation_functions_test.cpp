#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/voraksso/state.h"

#include <cstring>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class EvaluationFunctions : public EngineTest {
protected:
    // The arguments of VorakEvalLogonTicket; a test nulls one.
    struct Arguments {
        const char* ticket = nullptr;
        char user[64] = "x", systemId[64] = "x", client[64] = "x";
        std::uint8_t certificate[64] = {};
        std::uint32_t userLength = 64, systemIdLength = 64, clientLength = 64, certificateLength = 64;
        char* userPointer = user;
        char* systemIdPointer = systemId;
        char* clientPointer = client;
        std::uint8_t* certificatePointer = certificate;
        std::uint32_t* userLengthPointer = &userLength;
        std::uint32_t* systemIdLengthPointer = &systemIdLength;
        std::uint32_t* clientLengthPointer = &clientLength;
        std::uint32_t* certificateLengthPointer = &certificateLength;
    };
    static std::int32_t call(Arguments& a) {
        return VorakEvalLogonTicket(a.ticket, "store.pse", "secret", a.userPointer, a.userLengthPointer,
                                    a.certificatePointer, a.certificateLengthPointer, a.systemIdPointer,
                                    a.systemIdLengthPointer, a.clientPointer, a.clientLengthPointer);
    }

    const std::string text = ticket(logon());
};

TEST_F(EvaluationFunctions, LogonTicketHandsOutUserSystemClientAndCertificate) {
    Arguments a;
    a.ticket = text.c_str();
    EXPECT_EQ(call(a), VORAK_OK);
    EXPECT_GT(a.userLength, 0u);
    EXPECT_GT(a.systemIdLength, 0u);
    EXPECT_EQ(a.clientLength, 3u);
    EXPECT_EQ(a.certificateLength, 25u);
    EXPECT_EQ(crypto.argument("SsfVerify", "profile"), "store.pse");
    EXPECT_EQ(crypto.argument("SsfVerify", "password"), "secret");
}

TEST_F(EvaluationFunctions, LogonTicketNeedsEveryOneOfItsNineReferencesAndDoesNotEvaluateWithout) {
    const TraceCapture trace(1);
    const auto refused = [&](auto Arguments::*member) {
        Arguments a;
        a.ticket = text.c_str();
        a.*member = nullptr;
        EXPECT_EQ(call(a), VORAK_INVALID);
        EXPECT_EQ(a.userLength + a.systemIdLength + a.clientLength + a.certificateLength, 4 * 64u);
        EXPECT_STREQ(a.user, "x") << "nothing is written";
    };
    refused(&Arguments::ticket);
    refused(&Arguments::userPointer);
    refused(&Arguments::userLengthPointer);
    refused(&Arguments::certificatePointer);
    refused(&Arguments::certificateLengthPointer);
    refused(&Arguments::systemIdPointer);
    refused(&Arguments::systemIdLengthPointer);
    refused(&Arguments::clientPointer);
    refused(&Arguments::clientLengthPointer);
    EXPECT_EQ(crypto.calls("SsfVerify"), 0);
    EXPECT_EQ(trace.lines(), std::vector<std::string>(9, "*** ERROR => Missing input parameters. [ssoxxext]"));
}

TEST_F(EvaluationFunctions, LogonTicketAlwaysDeliversUtf8) {
    QuorvantiSetProperty("KAV_EXT_CODEPAGE", "1100");
    const std::string umlauts = ticket(TicketBuilder().user("Gr\xC3\xBC\xC3\x9F").creation(kNow).validityHours(1));
    Arguments a;
    a.ticket = umlauts.c_str();
    EXPECT_EQ(call(a), VORAK_OK);
    EXPECT_STREQ(a.user, "Gr\xC3\xBC\xC3\x9F");
}

TEST_F(EvaluationFunctions, LogonTicketWithoutUserSystemAndClientIsASuccessWithEmptyTexts) {
    const std::string bare = ticket(TicketBuilder().creation(kNow).validityHours(1));
    Arguments a;
    a.ticket = bare.c_str();
    EXPECT_EQ(call(a), VORAK_OK);
    EXPECT_EQ(a.userLength + a.systemIdLength + a.clientLength, 0u);
}

TEST_F(EvaluationFunctions, LogonTicketClearsItsOutputsOnFailure) {
    const TraceCapture trace(1);
    Arguments a;
    a.ticket = "AAAA";
    EXPECT_EQ(call(a), VORAK_MALFORMED);
    EXPECT_EQ(a.userLength + a.systemIdLength + a.clientLength + a.certificateLength, 0u);
    EXPECT_STREQ(a.user, "");
    EXPECT_TRUE(hasLine(trace, "*** ERROR => VorakEvalLogonTicket returns 5. [ssoxxext]"));
}

TEST_F(EvaluationFunctions, LogonTicketRefusesATextThatIsTooLong) {
    const TraceCapture trace(1);
    const std::string endless(1 << 20, 'A');
    Arguments a;
    a.ticket = endless.c_str();
    EXPECT_EQ(call(a), VORAK_INVALID);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Ticket too long: 1048576, which exceeds 4095 [ssoxxext]"))
        << "the length is that of the whole text";
}

TEST_F(EvaluationFunctions, ExEvaluates4096CharactersOfALongerTextAndSaysTooLong) {
    const TraceCapture trace(1);
    FullRecord record;
    EXPECT_EQ(evaluate(std::string(5000, 'A'), record.info), VORAK_INVALID);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => Ticket too long: 4096, which exceeds 4095 [ssoxxext]",
                                        "*** ERROR => VorakEvalLogonTicketEx returns 9. [ssoxxext]"}));
}

TEST_F(EvaluationFunctions, ANullTextHasLength0) {
    FullRecord record;
    EXPECT_EQ(VorakEvalLogonTicketEx(nullptr, "p", nullptr, nullptr, nullptr, &record.info), VORAK_NOT_BASE64);
    EXPECT_EQ(VorakEvalAssertionTicket(nullptr, "p", nullptr, "SYS", "000", &record.info), VORAK_NOT_BASE64);
    EXPECT_EQ(VorakEvalTicket(nullptr, 4000, &record.info), VORAK_NOT_BASE64);
}

TEST_F(EvaluationFunctions, AssertionWithoutOwnIdentityUsesThePropertiesAndSaysSo) {
    const TraceCapture trace(1);
    QuorvantiSetProperty("KAV_OWN_SYSID", "OWN");
    QuorvantiSetProperty("KAV_OWN_CLIENT", "777");
    FullRecord record;
    const std::string assertion = ticket(TicketBuilder::assertion(kNow, "OWN", "777"));
    EXPECT_EQ(VorakEvalAssertionTicket(assertion.c_str(), "store.pse", "secret", nullptr, nullptr, &record.info),
              VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfVerify", "profile"), "store.pse");
    EXPECT_EQ(crypto.argument("SsfVerify", "password"), "secret");
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => KAV Assertion Ticket requires System ID information of "
                                        "recipient, use default OWN [ssoxxext]",
                                        "*** ERROR => KAV Assertion Ticket requires System Client information of "
                                        "recipient, use default 777 [ssoxxext]"}));
    QuorvantiSetProperty("KAV_OWN_SYSID", nullptr);
    QuorvantiSetProperty("KAV_OWN_CLIENT", nullptr);
}

TEST_F(EvaluationFunctions, EachSaysWhatItReturnsOnFailure) {
    const TraceCapture trace(1);
    FullRecord record;
    VorakEvalAssertionTicket("AAAA", "p", nullptr, "SYS", "000", &record.info);
    VorakEvalTicket("AAAA", 4, &record.info);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => VorakEvalAssertionTicket returns 5. [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => VorakEvalTicket returns 5. [ssoxxext]"));
}

TEST_F(EvaluationFunctions, EachTracesEntryAndExitAtLevel3) {
    const std::string assertion = ticket(TicketBuilder::assertion(kNow, "SYS", "000"));
    const auto callEach = [&] {
        FullRecord first, second, third;
        Arguments a;
        a.ticket = text.c_str();
        EXPECT_EQ(call(a), VORAK_OK);
        EXPECT_EQ(evaluate(text, first.info), VORAK_OK);
        EXPECT_EQ(VorakEvalAssertionTicket(assertion.c_str(), "p", nullptr, "SYS", "000", &second.info), VORAK_OK);
        EXPECT_EQ(VorakEvalTicket(text.c_str(), static_cast<std::uint32_t>(text.size()), &third.info), VORAK_OK);
    };
    {
        const TraceCapture trace(2);
        callEach();
        EXPECT_FALSE(trace.contains("VorakEval"));
    }
    const TraceCapture trace(3);
    callEach();
    for (const char* name :
         {"VorakEvalLogonTicket", "VorakEvalLogonTicketEx", "VorakEvalAssertionTicket", "VorakEvalTicket"}) {
        EXPECT_TRUE(hasLine(trace, std::string(name) + " was called.")) << name;
        EXPECT_TRUE(hasLine(trace, "End of function " + std::string(name) + ".")) << name;
    }
}

TEST_F(EvaluationFunctions, AfterAFailureAllButTheFirstTraceTheirExit) {
    const TraceCapture trace(3);
    FullRecord record;
    Arguments a;
    a.ticket = "AAAA";
    call(a);
    EXPECT_FALSE(trace.contains("End of function"));
    evaluate("AAAA", record.info);
    VorakEvalAssertionTicket("AAAA", "p", nullptr, "SYS", "000", &record.info);
    VorakEvalTicket("AAAA", 4, &record.info);
    for (const char* name : {"VorakEvalLogonTicketEx", "VorakEvalAssertionTicket", "VorakEvalTicket"}) {
        EXPECT_TRUE(hasLine(trace, "End of function " + std::string(name) + ".")) << name;
    }
}

TEST_F(EvaluationFunctions, EvalTicketTakesTheGivenLength) {
    FullRecord record;
    const std::string longer = text + "and something behind it";
    EXPECT_EQ(VorakEvalTicket(longer.c_str(), static_cast<std::uint32_t>(text.size()), &record.info), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfVerify", "profile"), "");
    EXPECT_EQ(VorakEvalTicket(longer.c_str(), 4096, &record.info), VORAK_INVALID);
    EXPECT_EQ(VorakEvalTicket(longer.c_str(), 0xFFFFFFFF, &record.info), VORAK_INVALID);
}

}  // namespace
}  // namespace quorvanti

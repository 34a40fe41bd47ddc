// evalLogonTicket and evalAssertionTicket.
#include "tests/bindings/java/natives_fixture.h"

#include <cstdio>

using namespace quorvanti::test;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

class Evaluation : public NativesTest {};
QUORVANTI_FOR_BOTH_CLASSES(Evaluation);

std::string pointerText(const void* pointer) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
}

TEST_P(Evaluation, AnAcceptedLogonTicketGivesEightElements) {
    start();
    const TicketBuilder ticket = TicketBuilder()
                                     .user("JDOE")
                                     .client("100")
                                     .systemId("PRD")
                                     .creation(std::time(nullptr))
                                     .validityHours(8)
                                     .portalUser("jdoe")
                                     .authScheme("basic");
    const std::vector<std::u16string> fields = taken(evalLogon(signedTicket(ticket)));
    EXPECT_EQ(exception(), "(none)");
    ASSERT_EQ(fields.size(), 8U);
    const int secondsLeft = std::stoi(FakeJni::ascii(jni_.string(fields[6])));
    EXPECT_TRUE(secondsLeft > 8 * 3600 - 120 && secondsLeft <= 8 * 3600) << secondsLeft;
    EXPECT_THAT(fields, ElementsAre(u"JDOE", u"PRD", u"100", u"certificate of the double", u"jdoe", u"basic",
                                    testing::_, u"0"));
    EXPECT_EQ(crypto_.argument("SsfVerify", "profile"), "profile");
}

TEST_P(Evaluation, WhatTheTicketDoesNotSayIsEmpty) {
    start();
    const TicketBuilder ticket =
        TicketBuilder().user("JDOE").client("100").systemId("PRD").creation(std::time(nullptr)).validityHours(8);
    const std::vector<std::u16string> fields = taken(evalLogon(signedTicket(ticket)));
    ASSERT_EQ(fields.size(), 8U);
    EXPECT_EQ(fields[4], u"");
    EXPECT_EQ(fields[5], u"");
}

TEST_P(Evaluation, EachTextHas128Bytes) {
    start();
    const std::string longest(128, 'x');
    const auto evaluated = [this](const TicketBuilder& ticket) { return taken(evalLogon(signedTicket(ticket))); };
    EXPECT_THAT(evaluated(logon().user(longest)), Contains(wide(longest)));
    EXPECT_THAT(evaluated(logon().portalUser(longest)), Contains(wide(longest)));
    EXPECT_THAT(evaluated(logon().authScheme(longest)), Contains(wide(longest)));
    EXPECT_EQ(exception(), "(none)");
    const std::string refused = "java/lang/Exception: VorakEvalLogonTicketEx failed: standard error= ";
    evaluated(logon().user(longest + "x"));
    EXPECT_EQ(exception(), refused + "6, ssf error= 0");
    evaluated(logon().portalUser(longest + "x"));
    EXPECT_EQ(exception(), refused + "3, ssf error= 0");
    evaluated(logon().authScheme(longest + "x"));
    EXPECT_EQ(exception(), refused + "3, ssf error= 0");
}

TEST_P(Evaluation, AnAcceptedAssertionTicketGivesTheCertificateOfTheRecord) {
    start();
    const std::string ticket = signedTicket(TicketBuilder::assertion(std::time(nullptr), "DEV", "200"));
    const std::vector<std::u16string> fields =
        taken(evalAssertion({wide(ticket), u"profile", u"secret", u"DEV", u"200"}));
    EXPECT_EQ(exception(), "(none)");
    ASSERT_EQ(fields.size(), 8U);
    EXPECT_EQ(fields[3], u"certificate of the double");
    EXPECT_EQ(fields[7], u"1");
    EXPECT_EQ(crypto_.argument("SsfVerify", "password"), "secret");
}

TEST_P(Evaluation, ANullLogonTicketThrowsAndTheEngineIsNotCalled) {
    start();
    const TraceCapture trace(3);
    EXPECT_EQ(natives_.evalLogonTicket(env_, nullptr, nullptr, nullptr, nullptr), nullptr);
    const std::string null = pointerText(nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: At least one NULL parameter passed. ticket=" + null + ",PAB=" + null);
    EXPECT_EQ(natives_.evalLogonTicket(env_, nullptr, nullptr, jni_.string(u"profile"), nullptr), nullptr);
    const std::string message = exception();
    EXPECT_THAT(message, testing::StartsWith("java/lang/Exception: At least one NULL parameter passed. ticket=" + null +
                                             ",PAB="));
    EXPECT_THAT(message, Not(testing::EndsWith("PAB=" + null)));
    EXPECT_THAT(trace.lines(), Not(Contains("VorakEvalLogonTicketEx was called.")));
}

TEST_P(Evaluation, ARefusalTellsBothCodes) {
    start();
    crypto_->functions["SsfVerify"].result = 5;
    crypto_->signers[0].result = 22;
    EXPECT_EQ(evalLogon(signedTicket(logon())), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakEvalLogonTicketEx failed: standard error= 5, ssf error= 22");
    EXPECT_EQ(evalAssertion({wide(signedTicket(logon())), u"profile", std::nullopt, u"DEV", u"200"}), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakEvalAssertionTicket failed: standard error= 5, ssf error= 22");
}

TEST_P(Evaluation, AnExpiredTicketIsRefusedWith4) {
    start();
    EXPECT_EQ(evalLogon(signedTicket(TicketBuilder::logon(std::time(nullptr) - 9 * 3600))), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakEvalLogonTicketEx failed: standard error= 4, ssf error= 0");
}

TEST_P(Evaluation, WithoutStartItIsRefusedWith9) {
    EXPECT_EQ(evalLogon(signedTicket(logon())), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakEvalLogonTicketEx failed: standard error= 9, ssf error= 0");
}

TEST_P(Evaluation, ATicketWithoutUserSystemIdOrClientThrows) {
    start();
    const auto with = [](std::string_view user, std::string_view system, std::string_view client) {
        TicketBuilder ticket;
        ticket.creation(std::time(nullptr)).validityHours(8);
        user.empty() ? ticket : ticket.user(user);
        system.empty() ? ticket : ticket.systemId(system);
        client.empty() ? ticket : ticket.client(client);
        return signedTicket(ticket);
    };
    EXPECT_EQ(evalLogon(with("", "", "")), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: Ticket contains no user.");
    EXPECT_EQ(evalLogon(with("JDOE", "", "")), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: Ticket contains no sysid.");
    EXPECT_EQ(evalLogon(with("JDOE", "PRD", "")), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: Ticket contains no client.");
}

TEST_P(Evaluation, AnAssertionWithoutOwnIdentityThrowsButGoesOn) {
    start();
    const std::string ticket = signedTicket(TicketBuilder::assertion(std::time(nullptr), "SYS", "000"));
    const TraceCapture trace(3);
    EXPECT_EQ(evalAssertion({wide(ticket), u"profile", std::nullopt, std::nullopt, u"000"}), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: No SysId set");
    EXPECT_EQ(evalAssertion({wide(ticket), u"profile", std::nullopt, u"SYS", std::nullopt}), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: No Client set");
    EXPECT_THAT(
        trace.lines(),
        Contains("*** ERROR => KAV Assertion Ticket requires System ID information of recipient, use default SYS "
                 "[ssoxxext]"));
    EXPECT_EQ(crypto_.calls("SsfVerify"), 2);
    // Of several, the first is thrown; a failure behind it does not replace it.
    EXPECT_EQ(evalAssertion({std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt}), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: No SysId set");
    EXPECT_EQ(evalAssertion({u"AAAA", u"profile", std::nullopt, u"SYS", std::nullopt}), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: No Client set");
}

TEST_P(Evaluation, ANullAssertionTicketThrows) {
    start();
    EXPECT_EQ(evalAssertion({std::nullopt, u"profile", std::nullopt, u"DEV", u"200"}), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: At least one NULL parameter passed. ticket=" + pointerText(nullptr));
}

TEST_P(Evaluation, UsersComeBackWithSupplementaryCharactersAndZeros) {
    start();
    const auto userOf = [&](std::string_view user) {
        const TicketBuilder ticket =
            TicketBuilder().user(user).client("100").systemId("PRD").creation(std::time(nullptr)).validityHours(8);
        const std::vector<std::u16string> fields = taken(evalLogon(signedTicket(ticket)));
        return fields.size() == 8 ? fields[0] : u"refused";
    };
    EXPECT_EQ(userOf("J\xC3\xBCrgen"), u"Jürgen");
    EXPECT_EQ(userOf("\xF0\x9F\x98\x80"), u"😀");
    EXPECT_EQ(userOf("\xED\xA0\xBD\xED\xB8\x80"), u"😀");
    // As Java itself writes it. A plain zero byte ends a text in a ticket, whoever reads it.
    EXPECT_EQ(userOf("A\xC0\x80"
                     "B"),
              std::u16string_view(u"A\0B", 3));
    EXPECT_EQ(exception(), "(none)");
}

TEST_P(Evaluation, WritesItsLinesAndForAssertionsTheEndOfLogonTickets) {
    start();
    const TraceCapture trace(3);
    EXPECT_EQ(evalLogon("AAAA"), nullptr);
    exception();
    std::vector<std::string> lines = trace.lines();
    EXPECT_EQ(lines.front(), "JAVA: evalLogonTicket was called.");
    EXPECT_EQ(lines.back(), "JAVA: End of evalLogonTicket");
    EXPECT_EQ(evalAssertion({u"AAAA", u"profile", std::nullopt, u"DEV", u"200"}), nullptr);
    exception();
    EXPECT_THAT(trace.lines(), Contains("JAVA: evalAssertionTicket was called."));
    EXPECT_EQ(trace.lines().back(), "JAVA: End of evalLogonTicket");
}

}  // namespace

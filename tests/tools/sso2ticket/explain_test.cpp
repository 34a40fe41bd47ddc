// verify --explain: the checks in the order of evaluation.
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/tools/sso2ticket/tool.h"

#include <algorithm>
#include <ctime>

using namespace quorvanti::test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Explain : public Tool {
protected:
    Explain() { writeFile(profile_, issuer_.certificatePem()); }

    nlohmann::json checks(const std::string& ticket, std::vector<std::string> more = {}) const {
        std::vector<std::string> words = {"verify", "--explain", "--json", "--profile", profile_, "-"};
        words.insert(words.end(), more.begin(), more.end());
        return json(tool(words, ticket))["checks"];
    }
    static std::string compared(const nlohmann::json& checks, const std::string& name) {
        const auto found = std::find_if(checks.begin(), checks.end(),
                                        [&](const nlohmann::json& check) { return check["check"] == name; });
        return found != checks.end() ? std::string((*found)["compared"]) : "no such check";
    }
    // What is before it has passed, what is behind it was not reached.
    static void expectFails(const nlohmann::json& checks, const std::string& name) {
        std::string expected = "passed";
        for (const auto& check : checks) {
            if (check["check"] == name) {
                EXPECT_EQ(check["state"], "failed") << name;
                expected = "not reached";
            } else {
                EXPECT_EQ(check["state"], expected) << check << " when failing " << name;
            }
        }
        EXPECT_EQ(expected, "not reached") << name;
    }

    const std::string profile_ = directory_.file("profile.pem");
    const InProcessIssuer issuer_{KeyKind::ec, "Portal PRD"};
    const std::time_t now_ = std::time(nullptr);
};

TEST_F(Explain, EveryCheckOfAnAcceptedTicketHasPassed) {
    const auto result = checks(issuer_.ticket(TicketBuilder::logon(now_)));
    std::vector<std::string> names;
    for (const auto& check : result) {
        EXPECT_EQ(check["state"], "passed");
        names.push_back(check["check"]);
    }
    EXPECT_THAT(names, ElementsAre("length of the text", "base64", "structure", "signature", "conversion of texts",
                                   "age", "recipient", "flags", "result"));
    EXPECT_THAT(compared(result, "signature"), HasSubstr("signed by CN=Portal PRD"));
    EXPECT_THAT(compared(result, "age"), HasSubstr("valid for 8 h 0 min until "));
    EXPECT_EQ(compared(result, "recipient"), "the ticket names none");
}

TEST_F(Explain, TheTextsStandBehindTheResult) {
    const CommandResult result =
        tool({"verify", "--explain", "--profile", profile_, issuer_.ticket(TicketBuilder::logon(now_ - 36000))});
    EXPECT_EQ(result.exitCode, rejected);
    EXPECT_THAT(result.out, HasSubstr("\nchecks\n  length of the text   passed       "));
    EXPECT_THAT(result.out, HasSubstr("\n  age                  failed       created "));
    EXPECT_THAT(result.out, HasSubstr("\n  recipient            not reached"));
}

TEST_F(Explain, FindsTheCheckThatFails) {
    expectFails(checks(std::string(4096, 'A')), "length of the text");
    expectFails(checks("no ticket"), "base64");
    expectFails(checks("AAAA"), "structure");
    expectFails(checks(ticketText(TicketBuilder().user(std::string(257, 'A')).signedBytes(), Bytes(40, 1))),
                "structure");
    expectFails(checks(InProcessIssuer(KeyKind::ec).ticket(TicketBuilder::logon(now_))), "signature");
    expectFails(checks(ticketText(TicketBuilder::logon(now_).signedBytes(), Bytes(40, 1))), "signature");
    expectFails(checks(issuer_.ticket(TicketBuilder::logon(now_).codePage("9999"))), "conversion of texts");
    expectFails(checks(issuer_.ticket(TicketBuilder::logon(now_ - 36000))), "age");
    expectFails(checks(issuer_.ticket(TicketBuilder().user("JDOE").validityHours(8))), "age");
    expectFails(checks(issuer_.ticket(TicketBuilder().user("JDOE").creation("2026").validityHours(8))), "age");
    expectFails(checks(issuer_.ticket(TicketBuilder().user("JDOE").creation(now_))), "age");
}

TEST_F(Explain, ComparesTheRecipient) {
    const std::string ticket = issuer_.ticket(TicketBuilder::assertion(now_, "DEV", "200"));
    const auto other = checks(ticket, {"--assertion", "--system-id", "QAS", "--client", "200"});
    expectFails(other, "recipient");
    EXPECT_EQ(compared(other, "recipient"),
              "ticket: system id \"DEV\", client \"200\"; here: system id \"QAS\", client \"200\"");
    expectFails(checks(ticket, {"--assertion", "--system-id", "DEV", "--client", "300"}), "recipient");
    const auto unaddressed = checks(issuer_.ticket(TicketBuilder::logon(now_)), {"--assertion"});
    expectFails(unaddressed, "recipient");
    EXPECT_THAT(compared(unaddressed, "recipient"), HasSubstr("an assertion ticket must"));
    // Without anything said the properties decide.
    EXPECT_THAT(compared(checks(ticket), "recipient"), HasSubstr("here: system id \"EXT\", client \"999\""));
    EXPECT_THAT(compared(checks(ticket, {"--assertion"}), "recipient"),
                HasSubstr("here: system id \"SYS\", client \"000\""));
}

TEST_F(Explain, AnAssertionTicketWithoutItsFlagFailsThere) {
    const std::vector<std::string> here = {"--assertion", "--system-id", "DEV", "--client", "200"};
    const auto addressed = [&] { return TicketBuilder::logon(now_).recipientClient("200").recipientSystemId("DEV"); };
    const auto missing = checks(issuer_.ticket(addressed()), here);
    expectFails(missing, "flags");
    expectFails(checks(issuer_.ticket(addressed().flags(2)), here), "flags");
}

}  // namespace

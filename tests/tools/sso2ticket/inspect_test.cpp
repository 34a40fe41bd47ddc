#include "tests/support/issuer/in_process_issuer.h"
#include "tests/tools/sso2ticket/tool.h"
#include "tools/sso2ticket/ticket_dissection.h"

#include <algorithm>

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr std::time_t created = 1709210100;  // 2024-02-29 12:35:00

class Inspect : public Tool {
protected:
    std::string sign(const TicketBuilder& builder) const { return issuer_.ticket(builder); }
    nlohmann::json inspected(const TicketBuilder& builder) const {
        const CommandResult result = tool({"inspect", "--json", sign(builder)});
        EXPECT_EQ(result.exitCode, accepted) << result.out;
        return json(result);
    }

    const InProcessIssuer issuer_{KeyKind::ec, "Portal PRD"};
};

TEST_F(Inspect, SaysThatNothingIsVerifiedBeforeAnythingElse) {
    const std::string ticket = sign(TicketBuilder::logon(created));
    EXPECT_THAT(tool({"inspect", ticket}).out, StartsWith("UNVERIFIED"));
    const auto answer = json(tool({"inspect", ticket, "--json"}));
    EXPECT_EQ(answer["status"], "UNVERIFIED");
    EXPECT_EQ(answer["verified"], false);
}

TEST_F(Inspect, ShowsEveryUnitWithNameKindAndValue) {
    const std::string out = tool({"inspect", sign(TicketBuilder::assertion(created, "DEV", "200")
                                                      .user("JDOE")
                                                      .validityHours(8)
                                                      .unit(0x88, "basicauthentication")
                                                      .unit(0x99, Bytes{0xDE, 0xAD}))})
                                .out;
    for (const char* line : {
             "version                           2\n",
             "code page                         4110 (UTF-8)\n",
             "0x01 User name                    JDOE (text)\n",
             "0x04 UTC Time creation            202402291235 (text)\n",
             "0x05 Duration validity            8 (number)\n",
             "0x08 Flags                        0x01 (bytes)\n",
             "0x0F Recipient client             200 (UTF-8 text)\n",
             "0x10 Recipient system id          DEV (UTF-8 text)\n",
             "0x88 Authentication scheme        basicauthentication (UTF-8 text)\n",
             "0x99 unknown                      0xDEAD (bytes)\n",
             "created                           2024-02-29T12:35:00Z\n",
         }) {
        EXPECT_THAT(out, HasSubstr(line));
    }
}

TEST_F(Inspect, NamesEveryKnownUnit) {
    TicketBuilder builder;
    const std::vector<std::pair<int, std::string>> names = {{0x01, "User name"},
                                                            {0x02, "Creator client"},
                                                            {0x03, "Creator system id"},
                                                            {0x04, "UTC Time creation"},
                                                            {0x05, "Duration validity"},
                                                            {0x06, "RFC ticket"},
                                                            {0x07, "Duration validity (min)"},
                                                            {0x08, "Flags"},
                                                            {0x09, "Language"},
                                                            {0x0A, "User name (UTF-8)"},
                                                            {0x0B, "Creator client (UTF-8)"},
                                                            {0x0C, "Creator system id (UTF-8)"},
                                                            {0x0D, "UTC Time creation (UTF-8)"},
                                                            {0x0E, "Language (UTF-8)"},
                                                            {0x0F, "Recipient client"},
                                                            {0x10, "Recipient system id"},
                                                            {0x20, "Portal user name"},
                                                            {0x3F, "Portal user name"},
                                                            {0x40, "unknown"},
                                                            {0x88, "Authentication scheme"}};
    for (const auto& [id, name] : names) {
        builder.unit(static_cast<std::uint8_t>(id), "1234");
    }
    const auto units = inspected(builder)["units"];
    ASSERT_EQ(units.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(units[i]["id"], names[i].first);
        EXPECT_EQ(units[i]["name"], names[i].second);
        EXPECT_EQ(units[i]["hex"], "31323334");
    }
    EXPECT_EQ(units[4]["value"], 0x31323334);
}

TEST_F(Inspect, KeepsTheOrderAndEveryRepetition) {
    const auto units = inspected(TicketBuilder().user("B").client("100").user("A"))["units"];
    ASSERT_EQ(units.size(), 3U);
    EXPECT_EQ(units[0]["value"], "B");
    EXPECT_EQ(units[2]["value"], "A");
}

TEST_F(Inspect, ShowsMoreThanAHundredUnits) {
    TicketBuilder builder;
    for (int i = 0; i < 150; ++i) {
        builder.unit(0x50, "x");
    }
    EXPECT_EQ(inspected(builder)["units"].size(), 150U);
}

TEST_F(Inspect, CountsTheLifetimeAsEvaluationDoes) {
    const auto lifetime = [&](const TicketBuilder& builder) { return inspected(builder)["lifetimeSeconds"]; };
    EXPECT_EQ(lifetime(TicketBuilder().validityHours(8)), 28800);
    EXPECT_EQ(lifetime(TicketBuilder().validityHours(0).validityMinutes(90)), 1800);
    EXPECT_EQ(lifetime(TicketBuilder().validityHours(596524).validityMinutes(5)), 2147482800);
    EXPECT_EQ(lifetime(TicketBuilder().user("A")), nullptr);
    EXPECT_EQ(inspected(TicketBuilder().creation(created).validityMinutes(2))["expires"], "2024-02-29T12:37:00Z");
    EXPECT_EQ(inspected(TicketBuilder().creation("202402301235").validityMinutes(2))["expires"], nullptr);
}

TEST_F(Inspect, TextsComeFromTheTicketsCodePage) {
    EXPECT_EQ(inspected(TicketBuilder().codePage("1100").user("J\xD6RG"))["units"][0]["value"], "J\xC3\x96RG");
    EXPECT_EQ(inspected(TicketBuilder().codePage("1100").portalUser("j\xC3\xB6rg"))["units"][0]["value"],
              "portal:j\xC3\xB6rg");
    EXPECT_EQ(inspected(TicketBuilder().user("J\xC3\x96RG"))["units"][0]["value"], "J\xC3\x96RG");
    EXPECT_EQ(inspected(TicketBuilder().user("J\xD6RG"))["units"][0]["value"], "0x4AD65247");  // no UTF-8
    EXPECT_EQ(inspected(TicketBuilder().codePage("8000").user("J\xD6"))["units"][0]["value"],
              "0x4AD6");  // not known here
    EXPECT_EQ(inspected(TicketBuilder().codePage("8000").user("JDOE"))["units"][0]["value"], "JDOE");
}

TEST_F(Inspect, ATicketDoesNotDriveTheTerminal) {
    const std::string out = tool({"inspect", sign(TicketBuilder().user("A\x1B[2J\xC2\x9B"
                                                                       "2JB"))})
                                .out;
    EXPECT_THAT(out, HasSubstr("A\\x1B[2J\\xC2\\x9B2JB"));
    EXPECT_THAT(out, Not(HasSubstr("\x1B")));
}

TEST_F(Inspect, ShowsTheSignatureAndItsSigner) {
    const auto signature = inspected(TicketBuilder().user("JDOE"))["signature"];
    EXPECT_EQ(signature["readable"], true);
    EXPECT_EQ(signature["signers"], 1);
    EXPECT_EQ(signature["digest"], "sha256");
    EXPECT_EQ(signature["algorithm"], "ecdsa-with-SHA256");
    EXPECT_EQ(signature["signerIssuer"], "CN=Portal PRD");
    const CommandResult rubbish = tool({"inspect", ticketText(TicketBuilder().user("A").signedBytes(), Bytes(20, 1))});
    EXPECT_EQ(rubbish.exitCode, accepted);
    EXPECT_THAT(rubbish.out, HasSubstr("no PKCS#7 signed data"));
}

TEST_F(Inspect, TurnsExclamationMarksBack) {
    // "+" stands for the bits 111110.
    std::string ticket = ticketText(TicketBuilder().user("\xFB\xEF\xBE\xFB\xEF\xBE").signedBytes(), Bytes(20, 0xFB));
    ASSERT_NE(ticket.find('+'), std::string::npos);
    std::replace(ticket.begin(), ticket.end(), '+', '!');
    EXPECT_EQ(tool({"inspect", "-"}, ticket).exitCode, accepted);
}

TEST_F(Inspect, SaysWhereAMalformedTicketEnds) {
    const Bytes whole = decodedTicket(TicketBuilder().user("JDOE").client("100").signedBytes(), Bytes(40, 1));
    const auto cut = [&](std::size_t length) {
        const CommandResult result = tool(
            {"inspect", "--json", base64(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)))});
        EXPECT_EQ(result.exitCode, rejected);
        return json(result);
    };
    EXPECT_EQ(cut(4)["problem"], "the ticket ends before its code page");
    EXPECT_EQ(cut(5)["problem"], "the ticket ends without signature at byte 5");
    EXPECT_EQ(cut(7)["problem"], "the ticket ends within a unit at byte 5");
    EXPECT_EQ(cut(9)["problem"], "the ticket ends within a unit of 4 bytes at byte 5");
    EXPECT_EQ(cut(12)["problem"], "the ticket ends without signature at byte 12");
    EXPECT_EQ(cut(12)["units"][0]["value"], "JDOE");
    EXPECT_EQ(cut(19)["problem"], "the ticket ends before its signature at byte 19");
    EXPECT_EQ(cut(30)["problem"], "the ticket ends within its signature at byte 21");
    const auto problem = [&](const Bytes& bytes) {
        return json(tool({"inspect", "--json", base64(bytes)}))["problem"];
    };
    EXPECT_EQ(problem(decodedTicket(TicketBuilder().signedBytes(), Bytes(40, 1))),
              "the ticket has no contents at byte 5");
    EXPECT_EQ(problem(decodedTicket(TicketBuilder().user("A").signedBytes(), {})),
              "the signature's length is 0 at byte 10");
    EXPECT_EQ(problem(decodedTicket(TicketBuilder().user(std::string(257, 'A')).signedBytes(), Bytes(40, 1))),
              "a unit has 257 bytes at byte 5");
    EXPECT_EQ(json(tool({"inspect", "--json", "no ticket"}))["problem"], "the text is not base64");
}

TEST_F(Inspect, NeedsATicket) {
    expectTalk(tool({"inspect"}), usage, "ticket");
    expectTalk(tool({"inspect", "@" + directory_.file("missing")}), inputUnreadable, "cannot be read");
}

}  // namespace

// The example issuer writes the bytes that the tests' own builder writes.
#include "tests/support/command.h"
#include "tests/support/issuer/ticket_builder.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

using namespace quorvanti::test;

namespace {

std::string program() {
    return QUORVANTI_ISSUE_TICKET;
}

TEST(IssueTicket, WritesTheBytesThatAreSigned) {
    const TemporaryDirectory directory;
    const CommandResult result =
        runCommand({program(), "content", directory.file("content"), "user=J\nDOE", "client=100", "system=PRD",
                    "created=202402291235", "hours=258", "minutes=-1", "language=EN", "portal=portal:jdoe",
                    "scheme=basicauthentication"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Bytes expected = TicketBuilder()
                               .user("J\nDOE")
                               .client("100")
                               .systemId("PRD")
                               .creation("202402291235")
                               .validityHours(258)
                               .validityMinutes(-1)
                               .language("EN")
                               .portalUser("jdoe")
                               .authScheme("basicauthentication")
                               .signedBytes();
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(bytesOf(readFile(directory.file("content"))), expected);
}

TEST(IssueTicket, WritesTheCurrentMinute) {
    const TemporaryDirectory directory;
    const std::string before = TicketBuilder::timeDigits(std::time(nullptr));
    EXPECT_EQ(runCommand({program(), "content", directory.file("content"), "created=now"}).exitCode, 0);
    const std::string written = readFile(directory.file("content")).substr(8);
    EXPECT_TRUE(written == before || written == TicketBuilder::timeDigits(std::time(nullptr))) << written;
}

TEST(IssueTicket, PutsContentAndSignatureIntoText) {
    const TemporaryDirectory directory;
    for (std::size_t length = 300; length < 303; ++length) {  // every padding
        writeFile(directory.file("content"), std::string("\2"
                                                         "4110",
                                                         5));
        writeFile(directory.file("signature"), std::string(length, '\x5A'));
        EXPECT_EQ(runCommand({program(), "text", directory.file("content"), directory.file("signature")}).out,
                  ticketText(bytesOf("\2"
                                     "4110"),
                             Bytes(length, 0x5A)));
    }
}

TEST(IssueTicket, RefusesWhatItDoesNotKnow) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("content");
    EXPECT_EQ(runCommand({program(), "content", file, "shoe=42"}).exitCode, 2);
    EXPECT_EQ(runCommand({program(), "content", file, "user=" + std::string(257, 'x')}).exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(file)) << "half done";
    EXPECT_EQ(runCommand({program(), "content", "/nonexistent/content", "user=JDOE"}).exitCode, 2);
    EXPECT_EQ(runCommand({program(), "text", "/nonexistent", "/nonexistent"}).exitCode, 2);
    EXPECT_EQ(runCommand({program()}).exitCode, 2);
}

}  // namespace

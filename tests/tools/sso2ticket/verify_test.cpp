// The program as its users see it: arguments, standard output, standard error, exit code.
#include "tests/support/command.h"
#include "tests/support/environment.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <ctime>
#include <filesystem>

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr int accepted = 0;
constexpr int rejected = 1;
constexpr int usage = 2;
constexpr int inputUnreadable = 3;
constexpr int configuration = 4;
constexpr int cryptoUnavailable = 5;

class Verify : public testing::Test {
protected:
    Verify() {
        writeFile(profile_, issuer_.certificatePem());
        const Bytes pkcs12 = issuer_.pkcs12("opensesame");
        writeFile(pkcs12_, std::string(pkcs12.begin(), pkcs12.end()));
    }

    CommandResult run(std::vector<std::string> words, const std::string& in = "") const {
        words.insert(words.begin(), {QUORVANTI_SSO2TICKET, "verify"});
        return runCommand(words, in);
    }
    CommandResult verify(std::vector<std::string> words, const std::string& in = "") const {
        words.insert(words.begin(), {"--profile", profile_});
        return run(std::move(words), in);
    }
    // The result on standard output, or why there is none on standard error.
    static void expectResult(const CommandResult& result, int exitCode, const std::string& part) {
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_THAT(result.out, HasSubstr(part));
        EXPECT_EQ(result.err, "");
    }
    static void expectTalk(const CommandResult& result, int exitCode, const std::string& part) {
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, HasSubstr(part));
    }

    const EnvironmentVariable library_{"SSF_LIB", nullptr};
    const EnvironmentVariable trace_{"KAV_EXT_TRC", nullptr};
    const EnvironmentVariable converter_{"RSCP_CATCH_INIT", nullptr};
    const TemporaryDirectory directory_;
    const std::string profile_ = directory_.file("profile.pem");
    const std::string pkcs12_ = directory_.file("profile.p12");
    const InProcessIssuer issuer_{KeyKind::ec, "Portal PRD"};
    const std::time_t now_ = std::time(nullptr);
    const std::string ticket_ = issuer_.ticket(TicketBuilder::logon(now_));
};

TEST_F(Verify, PrintsWhatAnAcceptedTicketSays) {
    const CommandResult result = verify({ticket_});
    expectResult(result, accepted, "accepted\nuser                   JDOE\n");
    for (const char* line : {"system id              PRD\n", "client                 100\n",
                             "portal user            jdoe\n", "authentication scheme  basicauthentication\n",
                             "signer                 CN=Portal PRD\n", "language               EN\n"}) {
        EXPECT_THAT(result.out, HasSubstr(line));
    }
}

TEST_F(Verify, TheConverterSaysNothingUnlessTheEnvironmentWantsIt) {
    EXPECT_EQ(verify({ticket_}).err, "");
    const EnvironmentVariable wish("RSCP_CATCH_INIT", "1");
    EXPECT_THAT(verify({ticket_}).err, StartsWith("Impromptu CCC initialization by 'rscpCInit'.\n"));
}

TEST_F(Verify, PrintsTheRealCreationTime) {
    const std::tm parts = *std::gmtime(&now_);
    char expected[32];
    std::strftime(expected, sizeof expected, "%Y-%m-%dT%H:%M:00Z", &parts);
    EXPECT_THAT(verify({ticket_}).out, HasSubstr(std::string("created                ") + expected + "\n"));
    EXPECT_EQ(nlohmann::json::parse(verify({"--json", ticket_}).out)["creationTime"], expected);
}

TEST_F(Verify, PrintsJsonForPrograms) {
    const auto good = nlohmann::json::parse(verify({"--json", ticket_}).out);
    EXPECT_EQ(good["accepted"], true);
    EXPECT_EQ(good["user"], "JDOE");
    EXPECT_EQ(good["signer"]["subject"], "CN=Portal PRD");
    const CommandResult result = verify({"--json", issuer_.ticket(TicketBuilder::logon(now_ - 36000))});
    EXPECT_EQ(result.exitCode, rejected);
    EXPECT_EQ(nlohmann::json::parse(result.out)["code"], 4);
}

TEST_F(Verify, TakesTheTicketFromAFileOrStandardInput) {
    writeFile(directory_.file("ticket"), ticket_ + "\n");
    EXPECT_EQ(verify({"@" + directory_.file("ticket")}).exitCode, accepted);
    EXPECT_EQ(verify({"--file", directory_.file("ticket")}).exitCode, accepted);
    EXPECT_EQ(verify({"-"}, ticket_ + "\n").exitCode, accepted);
}

TEST_F(Verify, TurnsExclamationMarksBackIntoPluses) {
    // One of them has a "+" somewhere.
    std::string ticket = ticket_;
    for (int i = 0; ticket.find('+') == std::string::npos && i < 200; ++i) {
        ticket = issuer_.ticket(TicketBuilder::logon(now_));
    }
    ASSERT_NE(ticket.find('+'), std::string::npos);
    std::replace(ticket.begin(), ticket.end(), '+', '!');
    EXPECT_EQ(verify({ticket}).exitCode, accepted);
    EXPECT_THAT(run({"--help"}).out, HasSubstr("1281"));
}

TEST_F(Verify, ExplainsARejection) {
    expectResult(verify({issuer_.ticket(TicketBuilder::logon(now_ - 36000))}), rejected, "VORAK_TICKET_EXPIRED");
    expectResult(verify({"no ticket"}), rejected, "VORAK_NOT_BASE64");
    const InProcessIssuer stranger(KeyKind::ec);
    const CommandResult unknown = verify({stranger.ticket(TicketBuilder::logon(now_))});
    expectResult(unknown, rejected, "(standard error 5, ssf error 22)");
    EXPECT_THAT(unknown.out, StartsWith("rejected\n"));
    EXPECT_THAT(unknown.out, HasSubstr("import the issuing system's certificate"));
}

TEST_F(Verify, AChangedTicketIsRejectedForItsSignature) {
    const Bytes signature = issuer_.sign(TicketBuilder::logon(now_).signedBytes());
    const Bytes changed = TicketBuilder::logon(now_).flags(0).signedBytes();
    expectResult(verify({ticketText(changed, signature)}), rejected, "SSF_API_SIGNER_NOT_OK");
}

TEST_F(Verify, EvaluatesAssertionTicketsForTheirRecipient) {
    const std::string assertion = issuer_.ticket(TicketBuilder::assertion(now_, "DEV", "200"));
    expectResult(verify({"--assertion", "--system-id", "DEV", "--client", "200", assertion}), accepted,
                 "recipient              this system\n");
    expectResult(verify({"--assertion", "--system-id", "QAS", "--client", "200", assertion}), rejected,
                 "VORAK_NOT_FOR_US");
    expectResult(verify({"--assertion", "--system-id", "DEV", "--client", "200", ticket_}), rejected,
                 "VORAK_NOT_FOR_US");
}

TEST_F(Verify, ComparesTheRecipientOfALogonTicketToo) {
    const std::string addressed =
        issuer_.ticket(TicketBuilder::logon(now_).recipientClient("200").recipientSystemId("DEV"));
    expectResult(verify({addressed}), rejected, "VORAK_NOT_FOR_US");
    expectResult(verify({"--system-id", "DEV", "--client", "200", addressed}), accepted, "user");
}

TEST_F(Verify, TakesThePasswordFromAFileOrTheEnvironment) {
    writeFile(directory_.file("password"), "opensesame\n");
    const EnvironmentVariable variable("QUORVANTI_TEST_PASSWORD", "opensesame");
    EXPECT_EQ(run({"--profile", pkcs12_, "--password-file", directory_.file("password"), ticket_}).exitCode, accepted);
    EXPECT_EQ(run({"--profile", pkcs12_, "--password-env", "QUORVANTI_TEST_PASSWORD", ticket_}).exitCode, accepted);
}

TEST_F(Verify, AKeyStoreThatCannotBeUsedIsAMatterOfConfiguration) {
    const EnvironmentVariable wrong("QUORVANTI_TEST_PASSWORD", "swordfish");
    writeFile(directory_.file("garbage"), "no key store");
    expectResult(run({"--profile", directory_.file("missing"), ticket_}), configuration, "--profile");
    expectResult(run({"--profile", directory_.file("garbage"), ticket_}), configuration, "PKCS#12, PEM or DER");
    expectResult(run({"--profile", pkcs12_, ticket_}), configuration, "--password-file");
    expectResult(run({"--profile", pkcs12_, "--password-env", "QUORVANTI_TEST_PASSWORD", ticket_}), configuration,
                 "--password-file");
    expectTalk(run({"--profile", pkcs12_, "--password-file", directory_.file("missing"), ticket_}), configuration,
               "cannot be read");
}

TEST_F(Verify, APathThatTheLibraryWouldCutIsRefused) {
    const std::string name = "/profile.pem";
    const std::string directory = directory_.path().string();
    const std::string slashes(132 - directory.size() - name.size(), '/');  // a longer way to the same file
    const std::string longest = directory + slashes + name;
    EXPECT_EQ(run({"--profile", longest, ticket_}).exitCode, accepted);
    expectTalk(run({"--profile", directory + "/" + slashes + name, ticket_}), configuration, "132 characters");
}

TEST_F(Verify, InputThatCannotBeReadIsSaid) {
    expectTalk(verify({"@" + directory_.file("missing")}), inputUnreadable, "cannot be read");
    expectTalk(verify({"-"}, ""), inputUnreadable, "no ticket");
}

TEST_F(Verify, WhatCannotBeWrittenDoesNotPassForDone) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device here that is always full";
    }
    const auto intoTheFull = [](const std::string& words) {
        return runCommand({"sh", "-c", std::string(QUORVANTI_SSO2TICKET) + " " + words + " >/dev/full"});
    };
    expectTalk(intoTheFull("verify --profile " + profile_ + " " + ticket_), inputUnreadable,
               "standard output cannot be written");
    expectTalk(intoTheFull("verify --help"), inputUnreadable, "standard output cannot be written");
}

TEST_F(Verify, AMissingCryptoLibraryIsSaidWithItsReason) {
    const std::string trace = directory_.file("trace");
    expectTalk(verify({"--crypto-library", "libnonexistent.so", "--trace", trace, ticket_}), cryptoUnavailable,
               "--crypto-library");
    EXPECT_THAT(readFile(trace), HasSubstr("libnonexistent.so"));
}

TEST_F(Verify, WrongUseIsExplained) {
    expectTalk(run({ticket_}), usage, "--profile");
    expectTalk(verify({}), usage, "ticket");
    expectTalk(verify({ticket_, "--file", "ticket"}), usage, "--file");
    expectTalk(verify({"--password-file", "a", "--password-env", "b", ticket_}), usage, "password");
    expectTalk(verify({"--system-id", "NINECHARS", ticket_}), usage, "eight");
    expectTalk(verify({"--client", "1000", ticket_}), usage, "three");
    expectTalk(verify({"--code-page", "utf8", ticket_}), usage, "four digits");
    expectTalk(verify({"--trace", "t", "--trace-level", "4", ticket_}), usage, "--trace-level");
    expectTalk(verify({"--password", "opensesame", ticket_}), usage, "--password");
    expectTalk(runCommand({QUORVANTI_SSO2TICKET}), usage, "subcommand");
    expectTalk(run({ticket_, "--proflie", profile_}), usage, "not expected: --proflie");
    const CommandResult mistyped = runCommand({QUORVANTI_SSO2TICKET, "verfy", ticket_});
    expectTalk(mistyped, usage, "not expected: (2 not shown: no option or command)\nA subcommand is required");
    EXPECT_THAT(mistyped.err, Not(HasSubstr(ticket_)));
    EXPECT_EQ(run({"--help"}).exitCode, accepted);
}

TEST_F(Verify, WritesATraceOfTheLevelAskedFor) {
    const std::string trace = directory_.file("trace");
    verify({"--trace", trace, ticket_});
    EXPECT_THAT(readFile(trace), HasSubstr("Initializing QUORVANTI"));
    EXPECT_THAT(readFile(trace), Not(HasSubstr("*** ")));
    verify({"--trace", trace, "--trace-level", "2", ticket_});
    EXPECT_THAT(readFile(trace), HasSubstr("Computing validity in hours."));
    verify({"--trace", trace, "no ticket"});
    EXPECT_THAT(readFile(trace), HasSubstr("*** ERROR => "));
}

TEST_F(Verify, TextsComeInTheCodePageAskedFor) {
    const std::string ticket = issuer_.ticket(TicketBuilder().user("J\xC3\x96RG").creation(now_).validityHours(8));
    EXPECT_THAT(verify({ticket}).out, HasSubstr("J\xC3\x96RG"));
    EXPECT_THAT(verify({"--code-page", "1100", ticket}).out, HasSubstr("J\xD6RG"));
}

}  // namespace

// Tickets that the program issues are evaluated by the program, and their signatures accepted by openssl.
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/pattern.h"
#include "tests/tools/sso2ticket/tool.h"
#include "tools/sso2ticket/ticket_dissection.h"
#include "tools/sso2ticket/ticket_input.h"

#include <ctime>
#include <filesystem>

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

class Create : public Tool {
protected:
    Create() {
        const CommandResult made = tool({"keystore", "create", store_, "--subject", "CN=PRD", "--key", "ec-p256",
                                         "--password-env", "QUORVANTI_TEST_PASSWORD"});
        EXPECT_EQ(made.exitCode, accepted) << made.err;
        writeFile(trusted_,
                  tool({"keystore", "export-certificate", store_, "--password-env", "QUORVANTI_TEST_PASSWORD"}).out);
    }
    CommandResult create(std::vector<std::string> more) const {
        std::vector<std::string> words = {"create",
                                          "--system-id",
                                          "PRD",
                                          "--client",
                                          "100",
                                          "--recipient-system-id",
                                          "DEV",
                                          "--recipient-client",
                                          "200",
                                          "--profile",
                                          store_,
                                          "--password-env",
                                          "QUORVANTI_TEST_PASSWORD"};
        words.insert(words.end(), more.begin(), more.end());
        return tool(words);
    }
    CommandResult evaluate(const std::string& ticket, const std::string& systemId, const std::string& client) const {
        return tool({"verify", "--assertion", "--json", "--profile", trusted_, "--system-id", systemId, "--client",
                     client, "-"},
                    ticket);
    }

    const std::string store_ = directory_.file("store.p12");
    const std::string trusted_ = directory_.file("trusted.pem");
};

TEST_F(Create, TheRecipientAcceptsTheTicket) {
    const CommandResult made = create(
        {"--user", "JDOE", "--portal-user", "j\xC3\xB6rg", "--language", "E", "--auth-scheme", "basicauthentication"});
    ASSERT_EQ(made.exitCode, accepted) << made.err;
    EXPECT_EQ(made.err, "");
    EXPECT_THAT(made.out, MatchesPattern("[A-Za-z0-9!/]+=*\n"));
    const CommandResult evaluated = evaluate(made.out, "DEV", "200");
    ASSERT_EQ(evaluated.exitCode, accepted) << evaluated.out;
    const auto contents = json(evaluated);
    EXPECT_EQ(contents["user"], "JDOE");
    EXPECT_EQ(contents["portalUser"], "j\xC3\xB6rg");
    EXPECT_EQ(contents["language"], "E");
    EXPECT_EQ(contents["authenticationScheme"], "basicauthentication");
    EXPECT_EQ(contents["systemId"], "PRD");
    EXPECT_EQ(contents["client"], "100");
    EXPECT_EQ(contents["recipientMatched"], true);
    EXPECT_EQ(contents["signer"]["subject"], "CN=PRD");
    EXPECT_LE(contents["validitySeconds"], 120);
}

TEST_F(Create, NobodyElseAcceptsTheTicket) {
    const std::string ticket = create({"--user", "JDOE"}).out;
    for (const auto& [systemId, client] : {std::pair("QAS", "200"), std::pair("DEV", "300")}) {
        const CommandResult evaluated = evaluate(ticket, systemId, client);
        EXPECT_EQ(evaluated.exitCode, rejected);
        EXPECT_EQ(json(evaluated)["code"], 23);
    }
}

TEST_F(Create, ThePortalUserAloneIsEnough) {
    const auto contents = json(evaluate(create({"--portal-user", "jdoe"}).out, "DEV", "200"));
    EXPECT_EQ(contents["user"], "");
    EXPECT_EQ(contents["portalUser"], "jdoe");
}

TEST_F(Create, TextsComeInTheCodePageSaid) {
    SKIP_UNLESS_WORDS_MAY_BE_ANY_BYTES();
    const auto contents = json(
        evaluate(create({"--code-page", "1100", "--user", "J\xD6RG", "--portal-user", "j\xF6rg"}).out, "DEV", "200"));
    EXPECT_EQ(contents["user"], "J\xC3\x96RG");
    EXPECT_EQ(contents["portalUser"], "j\xC3\xB6rg");
}

TEST_F(Create, JsonSaysWhenItExpires) {
    const std::time_t before = std::time(nullptr);
    const auto made = json(create({"--user", "JDOE", "--json"}));
    EXPECT_EQ(made["created"], true);
    EXPECT_THAT(std::string(made["expires"]), MatchesRegex("20..-..-..T..:..:00Z"));
    EXPECT_NE(made["expires"], made["creationTime"]);
    EXPECT_EQ(evaluate(made["ticket"], "DEV", "200").exitCode, accepted) << before;
}

TEST_F(Create, OpensslAcceptsTheSignatureOfEachHash) {
    for (const char* hash : {"", "SHA1", "SHA256", "SHA384", "SHA512"}) {
        std::vector<std::string> words = {"--user", "JDOE", "--include-certificate"};
        if (*hash != '\0') {
            words.insert(words.end(), {"--hash", hash});
        }
        const CommandResult made = create(words);
        ASSERT_EQ(made.exitCode, accepted) << made.err;
        const std::string text = quorvanti::tidyTicket(made.out);
        const quorvanti::Dissection ticket = quorvanti::dissect(text);
        writeFile(directory_.file("signature"), std::string(ticket.signature.begin(), ticket.signature.end()));
        writeFile(directory_.file("text"), text);
        openssl({"base64", "-d", "-A", "-in", directory_.file("text"), "-out", directory_.file("ticket")});
        const std::string decoded = readFile(directory_.file("ticket"));
        writeFile(directory_.file("content"), decoded.substr(0, decoded.size() - ticket.signature.size() - 3));
        const CommandResult verified = openssl(
            {"cms", "-verify", "-binary", "-inform", "DER", "-in", directory_.file("signature"), "-content",
             directory_.file("content"), "-CAfile", trusted_, "-purpose", "any", "-out", directory_.file("out")});
        EXPECT_EQ(verified.exitCode, 0) << hash << verified.err;
        const auto signature = json(tool({"inspect", "--json", text}))["signature"];
        EXPECT_EQ(signature["certificates"].size(), 1U);
        const std::string digest = *hash != '\0' ? hash : "SHA256";
        EXPECT_EQ(signature["digest"], "sha" + digest.substr(3));
    }
}

TEST_F(Create, TheEnvironmentChoosesTheHashAndWhetherTheCertificateIsCarried) {
    const EnvironmentVariable hash("SSF_HASH", "SHA512");
    const EnvironmentVariable carry("SSF_INCLUDE_CERT", "yes");
    const auto signature = json(tool({"inspect", "--json", "-"}, create({"--user", "JDOE"}).out))["signature"];
    EXPECT_EQ(signature["digest"], "sha512");
    EXPECT_EQ(signature["certificates"].size(), 1U);
    const EnvironmentVariable plain("SSF_INCLUDE_CERT", nullptr);
    EXPECT_EQ(
        json(tool({"inspect", "--json", "-"}, create({"--user", "JDOE"}).out))["signature"]["certificates"].size(), 0U);
}

TEST_F(Create, TheEnvironmentMayChooseTheOldHashToo) {
    const EnvironmentVariable hash("SSF_HASH", "SHA1");
    EXPECT_EQ(json(tool({"inspect", "--json", "-"}, create({"--user", "JDOE"}).out))["signature"]["digest"], "sha1");
}

TEST_F(Create, SaysWhyNoTicketWasMade) {
    const EnvironmentVariable wrong("QUORVANTI_TEST_PASSWORD", "swordfish");
    const CommandResult refused = create({"--user", "JDOE"});
    EXPECT_EQ(refused.exitCode, configuration);
    EXPECT_EQ(refused.out, "");
    EXPECT_THAT(refused.err, HasSubstr("SSF_API_INVALID_PASSWORD"));
    EXPECT_THAT(refused.err, Not(HasSubstr("swordfish")));
    const CommandResult told = create({"--user", "JDOE", "--json"});
    EXPECT_EQ(told.exitCode, configuration);
    EXPECT_EQ(json(told)["created"], false);
    EXPECT_EQ(json(told)["ssfError"], 25);
}

// An own key store of openssl's making, with the ciphers that old programs write.
class OldKeyStore : public Create {
protected:
    OldKeyStore() {
        EXPECT_EQ(openssl({"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-subj", "/CN=old",
                           "-keyout", directory_.file("key"), "-out", trusted_})
                      .exitCode,
                  0);
        const CommandResult made =
            openssl({"pkcs12", "-export", "-legacy", "-certpbe", "PBE-SHA1-RC2-40", "-keypbe", "PBE-SHA1-3DES",
                     "-inkey", directory_.file("key"), "-in", trusted_, "-out", store_, "-passout", "pass:opensesame"});
        EXPECT_EQ(made.exitCode, 0) << made.err;
    }

    // The crypto library's sentence is in the trace.
    nlohmann::json told(const std::string& sentence) const {
        const std::string trace = directory_.file("trace");
        const CommandResult refused = create({"--user", "JDOE", "--json", "--trace", trace, "--trace-level", "2"});
        EXPECT_EQ(refused.exitCode, configuration);
        EXPECT_THAT(readFile(trace), HasSubstr(sentence));
        return json(refused)["ssfError"];
    }
};

TEST_F(OldKeyStore, Signs) {
    const CommandResult made = create({"--user", "JDOE"});
    ASSERT_EQ(made.exitCode, accepted) << made.err;
    EXPECT_EQ(evaluate(made.out, "DEV", "200").exitCode, accepted);
}

TEST_F(OldKeyStore, EachWayNotToOpenHasItsAnswer) {
    {
        const EnvironmentVariable wrong("QUORVANTI_TEST_PASSWORD", "swordfish");
        EXPECT_EQ(told("Key store " + store_ + " does not open with the password given."), 25);
    }
    writeFile(store_, "no key store");
    EXPECT_EQ(told("Key store " + store_ + " is neither PKCS#12 nor PEM nor a DER certificate."), 24);
    std::filesystem::remove(store_);
    EXPECT_EQ(told("Key store " + store_ + " does not exist."), 23);
}

TEST_F(OldKeyStore, ACipherThatIsNotThereIsNamed) {
    SKIP_UNLESS_OLD_CIPHERS_CAN_LACK();
    const EnvironmentVariable withoutOldCiphers("OPENSSL_MODULES", directory_.path().string().c_str());
    EXPECT_EQ(told("Key store " + store_ + " is encrypted with "), 24);
    EXPECT_EQ(told(", which cannot be read here"), 24);
}

TEST_F(Create, AKeyStoreThatOnlyVerifiesIsAMatterOfConfiguration) {
    const CommandResult refused = tool({"create", "--system-id", "PRD", "--client", "100", "--recipient-system-id",
                                        "DEV", "--recipient-client", "200", "--user", "JDOE", "--profile", trusted_});
    EXPECT_EQ(refused.exitCode, configuration);
    EXPECT_EQ(refused.out, "");
    EXPECT_THAT(refused.err, HasSubstr("The key store has no own key to sign with."));
}

TEST_F(Create, WrongUseIsExplained) {
    expectTalk(create({}), usage, "--user or --portal-user");
    expectTalk(create({"--user", std::string(37, 'A')}), usage, "36 bytes");
    expectTalk(create({"--portal-user", std::string(250, 'A')}), usage, "249 bytes");
    expectTalk(create({"--user", "A", "--language", "EN"}), usage, "one character");
    expectTalk(create({"--user", "A", "--auth-scheme", std::string(257, 'A')}), usage, "256 bytes");
    expectTalk(create({"--user", "A", "--code-page", "utf8"}), usage, "four digits");
    expectTalk(tool({"create", "--user", "A"}), usage, "--system-id");
    expectTalk(tool({"create", "--system-id", "NINECHARS", "--user", "A"}), usage, "eight characters");
    expectTalk(tool({"create", "--system-id", "PRD", "--client", "1000", "--user", "A"}), usage, "three characters");
    expectTalk(tool({"create", "--user", "A", "--system-id", "PRD", "--client", "100", "--recipient-system-id", "DEV",
                     "--recipient-client", "200", "--profile", std::string(132, 'p')}),
               configuration, "longer than 131 characters");
}

}  // namespace

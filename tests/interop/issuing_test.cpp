// Assertion tickets that the public function issues from key stores that openssl made: openssl accepts their
// signatures, the recipient the tickets, and that for two minutes.
#include "krn/time/clock.h"
#include "tests/interop/evaluation.h"
#include "tests/support/command.h"
#include "tests/support/issuer/openssl_issuer.h"
#include "tests/support/pattern.h"
#include "tests/support/temporary_directory.h"

#include <quorvanti/ssf.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <ctime>
#include <iterator>

using namespace quorvanti::test;

namespace {

std::atomic<std::int64_t> clockShift{0};

class Issuing {
public:
    Issuing() { EXPECT_EQ(VorakInitialize(QUORVANTI_BUNDLED_CRYPTO), VORAK_OK); }
    ~Issuing() {
        VorakShutdown();
        quorvanti::setClockSource(nullptr);
    }
    Issuing(const Issuing&) = delete;
    Issuing& operator=(const Issuing&) = delete;

    // Of the engine alone; the crypto library goes on checking certificates against the real one.
    static void shiftClock(std::int64_t seconds) {
        clockShift = seconds * 1000;
        quorvanti::setClockSource([]() -> std::int64_t { return std::time(nullptr) * 1000LL + clockShift; });
    }

    static std::int32_t create(const std::string& profile, const char* password, std::string& ticket) {
        const std::string systemId = "DEV";
        const std::string client = "200";
        const std::string user = "J\xC3\x96RG";
        const auto three = static_cast<std::uint32_t>(systemId.size());
        const auto userLength = static_cast<std::uint32_t>(user.size());
        AssertionContent content{};
        content.structSize = sizeof content;
        std::memcpy(content.codePage, "4110", 4);
        content.recipientSysId = systemId.data();
        content.recipientSysIdLength = &three;
        content.recipientClient = client.data();
        content.recipientClientLength = &three;
        content.user = user.data();
        content.userLength = &userLength;
        ticket.assign(4096, '\0');
        auto length = static_cast<std::uint32_t>(ticket.size());
        const std::int32_t code = VorakCreateAssertionTicket("PRD", "100", profile.empty() ? nullptr : profile.c_str(),
                                                             password, &content, ticket.data(), &length);
        ticket.resize(length);
        return code;
    }
};

// As it is evaluated.
std::string received(std::string ticket) {
    std::replace(ticket.begin(), ticket.end(), '!', '+');
    return ticket;
}

struct Parts {
    std::string content;
    std::string signature;
};

// Taken apart by openssl and by hand.
Parts partsOf(const std::string& ticket, const TemporaryDirectory& directory) {
    writeFile(directory.file("text"), received(ticket));
    runOpenssl({"base64", "-d", "-A", "-in", directory.file("text"), "-out", directory.file("ticket")});
    const std::string bytes = readFile(directory.file("ticket"));
    const auto lengthAt = [&](std::size_t position) {
        return static_cast<std::size_t>(static_cast<std::uint8_t>(bytes.at(position)) << 8 |
                                        static_cast<std::uint8_t>(bytes.at(position + 1)));
    };
    std::size_t position = 5;
    while (static_cast<std::uint8_t>(bytes.at(position)) != 0xFF) {
        position += 3 + lengthAt(position + 1);
    }
    EXPECT_EQ(bytes.size(), position + 3 + lengthAt(position + 1));
    return {bytes.substr(0, position), bytes.substr(position + 3)};
}

class IssuedWith : public testing::TestWithParam<KeyKind> {
protected:
    void expectOpensslAccepts(const std::string& ticket, const char* carried) const {
        const Parts parts = partsOf(ticket, directory_);
        writeFile(directory_.file("signature"), parts.signature);
        writeFile(directory_.file("content"), parts.content);
        std::vector<std::string> words{"cms",
                                       "-verify",
                                       "-binary",
                                       "-inform",
                                       "DER",
                                       "-in",
                                       directory_.file("signature"),
                                       "-content",
                                       directory_.file("content"),
                                       "-CAfile",
                                       issuer_.certificatePemFile(),
                                       "-purpose",
                                       "any",
                                       "-out",
                                       directory_.file("verified")};
        if (std::strcmp(carried, "0") == 0) {
            words.insert(words.end(), {"-certfile", issuer_.certificatePemFile()});
        }
        runOpenssl(words);
        EXPECT_EQ(readFile(directory_.file("verified")), parts.content);
        writeFile(directory_.file("content"), parts.content + "x");
        EXPECT_ANY_THROW(runOpenssl(words)) << "openssl looks at the content";
    }

    const TemporaryDirectory directory_;
    const OpensslIssuer issuer_{directory_.path().string(), GetParam()};
    const Issuing library_;
};

TEST_P(IssuedWith, OpensslAcceptsTheSignatureOfEachHashWithAndWithoutCertificate) {
    for (const char* hash : {"SHA1", "SHA256", "SHA384", "SHA512"}) {
        for (const char* carried : {"0", "1"}) {
            SCOPED_TRACE(testing::Message() << hash << ", certificate " << carried);
            ASSERT_EQ(QuorvantiSetProperty("SSF_HASH", hash), VORAK_OK);
            ASSERT_EQ(QuorvantiSetProperty("SSF_INCLUDE_CERT", carried), VORAK_OK);
            std::string ticket;
            ASSERT_EQ(Issuing::create(issuer_.keyAndCertificatePemFile(), nullptr, ticket), VORAK_OK);
            EXPECT_THAT(ticket, MatchesPattern("[A-Za-z0-9!/]+=*"));
            expectOpensslAccepts(ticket, carried);
            const Evaluation evaluated =
                evaluateAssertion(received(ticket), issuer_.certificatePemFile(), "DEV", "200");
            EXPECT_EQ(evaluated.code, VORAK_OK);
            EXPECT_EQ(evaluated.certificate, bytesOf(readFile(issuer_.certificateDerFile())));
        }
    }
}

TEST_P(IssuedWith, EveryKeyStoreFormThatHoldsAKeySigns) {
    const std::string password = OpensslIssuer::password();
    const std::string locked = directory_.file("locked.pem");
    runOpenssl({"pkcs8", "-topk8", "-in", issuer_.keyFile(), "-passout", "pass:" + password, "-out", locked});
    writeFile(locked, readFile(locked) + readFile(issuer_.certificatePemFile()));
    const std::string image = readFile(issuer_.pkcs12File());
    ASSERT_EQ(VorakLoadTicketKey(reinterpret_cast<const std::uint8_t*>(image.data()),
                                 static_cast<std::int32_t>(image.size()), password.c_str(), 0, VORAK_KEY_STORE),
              VORAK_OK);
    ASSERT_EQ(QuorvantiSetProperty("SSF_HASH", "SHA256"), VORAK_OK);
    for (const auto& [profile, opener] : {std::pair<std::string, const char*>{issuer_.pkcs12File(), password.c_str()},
                                          {issuer_.keyAndCertificatePemFile(), nullptr},
                                          {locked, password.c_str()},
                                          {"", nullptr}}) {
        SCOPED_TRACE(profile.empty() ? "the loaded key" : profile);
        std::string ticket;
        ASSERT_EQ(Issuing::create(profile, opener, ticket), VORAK_OK);
        EXPECT_EQ(evaluateAssertion(received(ticket), issuer_.certificateDerFile(), "DEV", "200").code, VORAK_OK);
    }
    std::string ticket;
    EXPECT_EQ(Issuing::create(issuer_.certificateDerFile(), nullptr, ticket), SSF_API_UNKNOWN_SIGNER << 16 | 9);
    EXPECT_EQ(ticket, "");
}

INSTANTIATE_TEST_SUITE_P(Openssl, IssuedWith,
                         testing::Values(KeyKind::rsa, KeyKind::rsa3072, KeyKind::dsa, KeyKind::ec),
                         [](const auto& kind) { return std::string(nameOf(kind.param)); });

class Issued : public testing::Test {
protected:
    Issued() { EXPECT_EQ(Issuing::create(issuer_.keyAndCertificatePemFile(), nullptr, ticket_), VORAK_OK); }

    Evaluation evaluatedBy(const char* systemId, const char* client) const {
        return evaluateAssertion(received(ticket_), issuer_.certificatePemFile(), systemId, client);
    }

    const TemporaryDirectory directory_;
    const OpensslIssuer issuer_{directory_.path().string(), KeyKind::ec};
    const Issuing library_;
    std::string ticket_;
};

TEST_F(Issued, TheRecipientReadsItInHisCodePage) {
    const Evaluation result = evaluatedBy("DEV", "200");
    ASSERT_EQ(result.code, VORAK_OK);
    EXPECT_EQ(result.systemId, "PRD");
    EXPECT_EQ(result.client, "100");
    EXPECT_EQ(result.marker, 1);
    ASSERT_EQ(QuorvantiSetProperty("KAV_EXT_CODEPAGE", "1100"), VORAK_OK);
    EXPECT_EQ(evaluatedBy("DEV", "200").user, "J\xD6RG");
    ASSERT_EQ(QuorvantiSetProperty("KAV_EXT_CODEPAGE", "4110"), VORAK_OK);
    EXPECT_EQ(evaluatedBy("DEV", "200").user, "J\xC3\x96RG");
}

TEST_F(Issued, AnyOtherRecipientRefusesIt) {
    EXPECT_EQ(evaluatedBy("QAS", "200").code, VORAK_NOT_FOR_US);
    EXPECT_EQ(evaluatedBy("DEV", "201").code, VORAK_NOT_FOR_US);
    ASSERT_EQ(QuorvantiSetProperty("KAV_EXT_CODEPAGE", "1100"), VORAK_OK);
    EXPECT_EQ(evaluatedBy("QAS", "200").code, VORAK_NOT_FOR_US) << "in his code page as well";
}

TEST_F(Issued, ItExpiresAfterTwoMinutes) {
    const std::int64_t now = std::time(nullptr);
    Issuing::shiftClock(-(now % 60) - 600);  // at the beginning of a minute, ten minutes ago
    ASSERT_EQ(Issuing::create(issuer_.keyAndCertificatePemFile(), nullptr, ticket_), VORAK_OK);
    EXPECT_EQ(evaluatedBy("DEV", "200").code, VORAK_OK);
    Issuing::shiftClock(-(now % 60) - 600 + 120);
    EXPECT_EQ(evaluatedBy("DEV", "200").code, VORAK_OK);
    Issuing::shiftClock(-(now % 60) - 600 + 180);
    const Evaluation late = evaluatedBy("DEV", "200");
    EXPECT_EQ(late.code, VORAK_TICKET_EXPIRED);
    EXPECT_EQ(late.user, "");
    const std::string tool = QUORVANTI_SSO2TICKET;
    const CommandResult refused = runCommand({tool, "verify", "--assertion", "--profile", issuer_.certificatePemFile(),
                                              "--system-id", "DEV", "--client", "200", "--json", received(ticket_)});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.out, testing::HasSubstr("VORAK_TICKET_EXPIRED")) << "and the program, by the real clock";
}

}  // namespace

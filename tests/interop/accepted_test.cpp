// Tickets that the openssl command signed are accepted, whatever way it signs and however the issuer is stored here.
#include "tests/interop/evaluation.h"
#include "tests/support/issuer/openssl_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <ctime>
#include <tuple>

using namespace quorvanti::test;

namespace {

constexpr std::int32_t signerErrors = 5;
constexpr std::int32_t unknownSigner = 22;

struct Store {
    const char* name;
    std::string file;
    const char* password;
};

std::vector<Store> storesOf(const OpensslIssuer& issuer) {
    static const std::string password = OpensslIssuer::password();
    return {{"PKCS#12", issuer.pkcs12File(), password.c_str()},
            {"PEM", issuer.certificatePemFile(), nullptr},
            {"PEM with key", issuer.keyAndCertificatePemFile(), nullptr},
            {"DER", issuer.certificateDerFile(), nullptr}};
}

class Accepted : public testing::TestWithParam<std::tuple<KeyKind, const char*>> {
protected:
    void expectAccepted(const std::string& ticket, const Store& store) const {
        SCOPED_TRACE(store.name);
        const Evaluation result = evaluateLogon(ticket, store.file, store.password);
        ASSERT_EQ(result.code, VORAK_OK);
        EXPECT_EQ(result.user, "JDOE");
        EXPECT_EQ(result.client, "100");
        EXPECT_EQ(result.systemId, "PRD");
        EXPECT_EQ(result.language, "EN");
        EXPECT_EQ(result.portalUser, "jdoe");
        EXPECT_EQ(result.authScheme, "basicauthentication");
        EXPECT_EQ(result.creationTime, created_ - created_ % 60 + 86400);
        EXPECT_NEAR(result.validity, 8 * 3600, 120);
        EXPECT_EQ(result.marker, 0);
        EXPECT_EQ(result.certificate, bytesOf(readFile(issuer_.certificateDerFile())));
    }

    const TemporaryDirectory directory_;
    const std::time_t created_ = std::time(nullptr);
    const OpensslIssuer issuer_{directory_.path().string(), std::get<KeyKind>(GetParam())};
    const Library library_;
};

TEST_P(Accepted, InEveryFormAndFromEveryKeyStore) {
    ASSERT_EQ(library_.startCode(), VORAK_OK);
    const Bytes content = TicketBuilder::logon(created_).signedBytes();
    for (const bool withCertificate : {true, false}) {
        for (const bool withAttributes : {true, false}) {
            SCOPED_TRACE(testing::Message() << "certificate " << withCertificate << ", attributes " << withAttributes);
            const SignOptions options{std::get<const char*>(GetParam()), withCertificate, withAttributes};
            const std::string ticket = ticketText(content, issuer_.sign(content, options));
            for (const Store& store : storesOf(issuer_)) {
                expectAccepted(ticket, store);
            }
        }
    }
}

std::string nameOfPair(const testing::TestParamInfo<std::tuple<KeyKind, const char*>>& pair) {
    return std::string(nameOf(std::get<KeyKind>(pair.param))) + "_" + std::get<const char*>(pair.param);
}

INSTANTIATE_TEST_SUITE_P(Openssl, Accepted,
                         testing::Combine(testing::Values(KeyKind::rsa, KeyKind::dsa, KeyKind::ec),
                                          testing::Values("sha1", "sha256", "sha384", "sha512")),
                         nameOfPair);

class Openssl : public testing::Test {
protected:
    const TemporaryDirectory directory_;
    const OpensslIssuer issuer_{directory_.path().string(), KeyKind::ec};
    const Library library_;
};

TEST_F(Openssl, ATicketOfAnIssuerOfTheSameNameIsRefused) {
    const TemporaryDirectory elsewhere;
    const OpensslIssuer stranger(elsewhere.path().string(), KeyKind::ec);
    const Bytes content = TicketBuilder::logon(std::time(nullptr)).signedBytes();
    const Evaluation result = evaluateLogon(ticketText(content, stranger.sign(content)), issuer_.certificatePemFile());
    EXPECT_EQ(VORAK_STANDARD_ERROR(result.code), signerErrors);
    EXPECT_EQ(VORAK_SSF_ERROR(result.code), unknownSigner);
    EXPECT_EQ(result.user, "");
    EXPECT_EQ(result.marker, -1);
}

TEST_F(Openssl, AnExpiredTicketIsRefused) {
    const Bytes content = TicketBuilder::logon(std::time(nullptr) - 10 * 3600).signedBytes();
    EXPECT_EQ(evaluateLogon(ticketText(content, issuer_.sign(content)), issuer_.certificatePemFile()).code,
              VORAK_TICKET_EXPIRED);
}

TEST_F(Openssl, AnAssertionTicketIsAcceptedByItsRecipientOnly) {
    const Bytes content = TicketBuilder::assertion(std::time(nullptr), "DEV", "200").signedBytes();
    const std::string ticket = ticketText(content, issuer_.sign(content));
    const Evaluation result = evaluateAssertion(ticket, issuer_.certificatePemFile(), "DEV", "200");
    EXPECT_EQ(result.code, VORAK_OK);
    EXPECT_EQ(result.marker, 1);
    EXPECT_EQ(result.user, "JDOE");
    EXPECT_EQ(evaluateAssertion(ticket, issuer_.certificatePemFile(), "DEV", "201").code, VORAK_NOT_FOR_US);
    EXPECT_EQ(evaluateAssertion(ticket, issuer_.certificatePemFile(), "QAS", "200").code, VORAK_NOT_FOR_US);
}

}  // namespace

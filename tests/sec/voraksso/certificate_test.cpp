#include "tests/sec/voraksso/engine_fixture.h"

#include <cstring>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class Certificate : public EngineTest {
protected:
    explicit Certificate(const char* cryptoDouble = "double_full") : EngineTest(cryptoDouble) {
        for (const char* attribute : {"SUBJECT", "ISSUER", "SERIALNO", "SUMMARY", "SERIAL", "FINGERPRINT"}) {
            crypto->certificateTexts[attribute] = std::string("the ") + attribute;
        }
    }
    std::int32_t parse(const char* attribute) {
        std::memset(out, 0x7E, sizeof out);
        return VorakParseCertificate(reinterpret_cast<const std::uint8_t*>("der"), 3, attribute, out, &length);
    }
    std::string text() const { return {out, out + length}; }

    std::uint8_t out[64];
    std::int32_t length = 64;
};

TEST_F(Certificate, EachKeywordIsMatchedByItsBeginningInOrder) {
    for (const auto& [name, asked] : {std::pair{"SUBJECT", "SUBJECT"},
                                      {"SUBJECTALTNAME", "SUBJECT"},
                                      {"ISSUER", "ISSUER"},
                                      {"ISSUERx", "ISSUER"},
                                      {"SERIALNO", "SERIALNO"},
                                      {"SERIALNOx", "SERIALNO"},
                                      {"SUMMARY", "SUMMARY"},
                                      {"SERIAL", "SERIAL"},
                                      {"SERIALN", "SERIAL"},
                                      {"FINGERPRINT", "FINGERPRINT"}}) {
        length = 64;
        EXPECT_EQ(parse(name), VORAK_OK) << name;
        EXPECT_EQ(text(), std::string("the ") + asked);
        EXPECT_EQ(crypto.argument("SsfParseCertificate", "attribute"), asked);
    }
}

TEST_F(Certificate, EachFailureHasItsOwnLine) {
    const TraceCapture trace(1);
    crypto->certificateTexts.clear();
    for (const char* name : {"SUBJECT", "ISSUER", "SERIALNO", "SUMMARY", "SERIAL", "subject"}) {
        length = 64;
        EXPECT_EQ(parse(name), VORAK_NO_CERTIFICATE);
        EXPECT_EQ(length, 0);
    }
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{
                  "*** ERROR => Couldn't parse subject out of certificate. [ssoxxext]",
                  "*** ERROR => Couldn't parse issuer out of certificate. [ssoxxext]",
                  "*** ERROR => Couldn't parse serialNo out of certificate. [ssoxxext]",
                  "*** ERROR => Couldn't parse summary out of certificate. [ssoxxext]",
                  "*** ERROR => Couldn't parse serial out of certificate. [ssoxxext]",
                  "*** ERROR => Couldn't parse the attribute >>subject<< out of certificate. [ssoxxext]"}));
}

TEST_F(Certificate, ACapacityEqualToTheLengthSucceedsAndWritesNoTerminator) {
    length = 11;
    EXPECT_EQ(parse("SUBJECT"), VORAK_OK);
    EXPECT_EQ(text(), "the SUBJECT");
    EXPECT_EQ(out[11], 0x7E);
}

TEST_F(Certificate, ACapacityOneByteTooSmallYields3AndTheNeededLength) {
    const TraceCapture trace(1);
    length = 10;
    EXPECT_EQ(parse("SUBJECT"), VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 11);
    EXPECT_EQ(out[0], 0x7E) << "nothing is written";
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{"*** ERROR => Buffer passed to VorakParseCertificate too small. [ssoxxext]"});
    length = -1;
    EXPECT_EQ(parse("SUBJECT"), VORAK_BUFFER_TOO_SMALL);
}

TEST_F(Certificate, AMissingArgumentIs5) {
    const TraceCapture trace(1);
    const auto* der = reinterpret_cast<const std::uint8_t*>("der");
    EXPECT_EQ(VorakParseCertificate(nullptr, 3, "SUBJECT", out, &length), VORAK_MALFORMED);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(VorakParseCertificate(der, 3, nullptr, out, &length), VORAK_MALFORMED);
    EXPECT_EQ(VorakParseCertificate(der, 3, "SUBJECT", nullptr, &length), VORAK_MALFORMED);
    EXPECT_EQ(VorakParseCertificate(der, 3, "SUBJECT", out, nullptr), VORAK_MALFORMED);
    EXPECT_EQ(trace.lines(), std::vector<std::string>(4, "*** ERROR => Invalid parameter. [ssoxxext]"));
}

TEST_F(Certificate, WhatIsNoCertificateIs17) {
    const TraceCapture trace(1);
    crypto->functions["SsfCertfromASN1"].result = 40;
    EXPECT_EQ(parse("SUBJECT"), VORAK_NO_CERTIFICATE);
    EXPECT_EQ(length, 0);
    length = 64;
    EXPECT_EQ(VorakParseCertificate(reinterpret_cast<const std::uint8_t*>("der"), 0x80000000, "SUBJECT", out, &length),
              VORAK_NO_CERTIFICATE);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>(
                  2, "*** ERROR => Certificate couldn't be converted into internal structure. [ssoxxext]"));
}

TEST_F(Certificate, NeedsAnInitializedLibrary) {
    VorakShutdown();
    const TraceCapture trace(1);
    EXPECT_EQ(parse("SUBJECT"), VORAK_INVALID);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"*** ERROR => VorakInitialize must be called first. [ssoxxext]"});
}

class MissingForCertificates : public Certificate, public ::testing::WithParamInterface<std::array<const char*, 2>> {
protected:
    MissingForCertificates() : Certificate(GetParam()[0]) {}
};
TEST_P(MissingForCertificates, Yields13AndALineThatNamesIt) {
    const TraceCapture trace(1);
    EXPECT_EQ(parse("SUBJECT"), VORAK_CRYPTO_FUNCTION_MISSING);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{std::string("*** ERROR => ") + GetParam()[1] + " is NULL. [ssoxxext]"});
}
INSTANTIATE_TEST_SUITE_P(Each, MissingForCertificates,
                         ::testing::Values(std::array{"double_no_certificate", "SsfCertfromASN1"},
                                           std::array{"double_no_certificate_text", "SsfParseCertificate"}));

}  // namespace
}  // namespace quorvanti

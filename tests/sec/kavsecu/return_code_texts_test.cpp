// What the trace says about a return code of the crypto library.
#include "sec/kavsecu/return_code_texts.h"

#include "tests/sec/kavsecu/loaded_table.h"
#include "tests/support/crypto_double/crypto_double.h"
#include "tests/support/trace_capture.h"

#include <gmock/gmock.h>

#include <fstream>
#include <map>

namespace quorvanti::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Reads "code :: rest" lines.
std::map<std::int32_t, std::string> readCodes(const char* name) {
    std::ifstream file(std::string(QUORVANTI_TEST_DIRECTORY "/") + name);
    std::map<std::int32_t, std::string> codes;
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with('#')) {
            const std::size_t separator = line.find(" :: ");
            codes[std::stoi(line.substr(0, separator))] = line.substr(separator + 4);
        }
    }
    return codes;
}

std::string errorLine(const std::string& context, const std::string& rest) {
    return "*** ERROR => " + context + " " + rest + " [secuload]";
}

constexpr char kUnknown[] = "unknown SSF error  :: no further, internal error occured in SSF.";

TEST(ReturnCodeTexts, EveryCodeHasItsLine) {
    const auto known = readCodes("return_code_lines.txt");
    ASSERT_EQ(known.size(), 32u);
    for (std::int32_t code = -2; code <= 500; ++code) {
        const TraceCapture trace(1);
        SsfTraceReturnCode(" SSF LIB returned", code, nullptr);
        const auto found = known.find(code);
        const std::string text = found == known.end() ? kUnknown : found->second;
        EXPECT_THAT(trace.lines(), ElementsAre(errorLine(" SSF LIB returned", std::to_string(code) + " :: " + text)));
    }
}

TEST(ReturnCodeTexts, EveryCodeHasItsDescription) {
    const auto known = readCodes("return_code_descriptions.txt");
    ASSERT_EQ(known.size(), 113u);
    for (std::int32_t code = -2; code <= 1000; ++code) {
        const char* const name = ssfCodeName(code);
        const char* const description = ssfCodeDescription(code);
        const auto found = known.find(code);
        if (found == known.end()) {
            EXPECT_EQ(name, nullptr) << code;
            EXPECT_EQ(description, nullptr) << code;
        } else {
            ASSERT_NE(description, nullptr) << code;
            EXPECT_EQ(std::string(name) + " :: " + description, found->second);
        }
    }
}

TEST(ReturnCodeTexts, TheTwoTablesDisagreeDeliberately) {
    const TraceCapture trace(1);
    SsfTraceReturnCode("c", 14, nullptr);
    SsfTraceReturnCode("c", 16, nullptr);
    SsfTraceReturnCode("c", 27, nullptr);
    SsfTraceReturnCode("c", 31, nullptr);
    SsfTraceReturnCode("c", 34, nullptr);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            "*** ERROR => c 14 :: SSF_API_SECTK_NO_ENCRYPTION :: SSF lib does not support encryption. [secuload]",
            "*** ERROR => c 16 :: SSF_API_SECTK_NO_ENCRYPTION :: SSF lib does not support encryption. [secuload]",
            "*** ERROR => c 27 :: SSF_API_RECIPIENT_NOT_OK :: Operation not ok for recipient. [secuload]",
            "*** ERROR => c 31 :: SSF_API_REVOCATION_CERTIFICATE_REVOKED :: Certificate is revoked. [secuload]",
            "*** ERROR => c 34 :: SSF_API_REVOCATION_CERTIFICATE_UNKNOWN :: Certificate is unknown. [secuload]"));
    EXPECT_EQ(ssfCodeDescription(14), nullptr);
    EXPECT_STREQ(ssfCodeName(16), "SSF_API_SECTK_FUNCTION_NOT_AVAIL");
    EXPECT_STREQ(ssfCodeName(27), "SSF_API_SIGNER_NOT_OK");
    EXPECT_STREQ(ssfCodeName(31), "SSF_API_REVOCATION_CERT_REVOKED");
    EXPECT_STREQ(ssfCodeName(34), "SSF_API_REVOCATION_CERT_UNKNOWN");
}

class ReturnCodeOfALibrary : public testing::Test {
protected:
    ReturnCodeOfALibrary() { loaded_.load(crypto_.path()); }
    ~ReturnCodeOfALibrary() override { EXPECT_TRUE(crypto_->outstanding.empty()); }

    std::vector<std::string> trace(std::int32_t code, int level = 2) {
        const TraceCapture capture(level);
        SsfTraceReturnCode(" SsfVerify returned", code, &loaded_.table);
        return capture.lines();
    }

    CryptoDouble crypto_;
    LoadedTable loaded_;
};

constexpr char kLine22[] =
    "*** ERROR =>  SsfVerify returned 22 :: SSF_API_UNKNOWN_SIGNER :: Unknown signer. Security profile does not "
    "contain the correct key. [secuload]";

TEST_F(ReturnCodeOfALibrary, TheSecondTextIsPreferred) {
    crypto_->errorHasInfo = 1;
    crypto_->errorText1 = "the first";
    crypto_->errorText2 = "no key";
    EXPECT_THAT(trace(22), ElementsAre(kLine22, "VORAKSSO2 ticket last error from SSF: no key ."));
    EXPECT_EQ(crypto_.argument("SsfSecTKLastErrorInfo", "code"), "22");
}

TEST_F(ReturnCodeOfALibrary, TheFirstTextServesWithoutASecond) {
    crypto_->errorHasInfo = 1;
    crypto_->errorText1 = "the first";
    EXPECT_THAT(trace(22), ElementsAre(kLine22, "VORAKSSO2 ticket last error from SSF: the first ."));
    crypto_->errorText2 = "";
    EXPECT_THAT(trace(22), ElementsAre(kLine22, "VORAKSSO2 ticket last error from SSF: the first ."));
}

TEST_F(ReturnCodeOfALibrary, WithoutTextsTheDescriptionServes) {
    EXPECT_THAT(trace(22),
                ElementsAre(kLine22,
                            "VORAKSSO2 ticket SSF error description: Signer is not known or not trusted *OR* "
                            "Recipient not found (in address book/PSE) ."));
}

TEST_F(ReturnCodeOfALibrary, LongTextsAreCutAt4095Bytes) {
    crypto_->errorHasInfo = 1;
    crypto_->errorText2 = std::string(5000, 'x');
    EXPECT_THAT(trace(22),
                ElementsAre(kLine22, "VORAKSSO2 ticket last error from SSF: " + std::string(4095, 'x') + " ."));
}

TEST_F(ReturnCodeOfALibrary, Code16IsDescribedWithoutAskingTheLibrary) {
    crypto_->errorHasInfo = 1;
    crypto_->errorText2 = "never asked for";
    EXPECT_THAT(trace(16), ElementsAre("*** ERROR =>  SsfVerify returned 16 :: SSF_API_SECTK_NO_ENCRYPTION :: SSF lib "
                                       "does not support encryption. [secuload]",
                                       "VORAKSSO2 ticket SSF error description: Security toolkit does not contain or "
                                       "provide requested API-function ."));
    EXPECT_EQ(crypto_.calls("SsfSecTKLastErrorInfo"), 0);
}

TEST_F(ReturnCodeOfALibrary, Code29HasNoLineOfItsOwn) {
    EXPECT_THAT(trace(29), ElementsAre("VORAKSSO2 ticket SSF error description: Supplied Name invalid (can not be "
                                       "parsed as distinguished name) ."));
}

TEST_F(ReturnCodeOfALibrary, Code29WithoutATableGetsTheUnknownLine) {
    const TraceCapture capture(2);
    SsfTraceReturnCode(" SSF LIB returned", 29, nullptr);
    EXPECT_THAT(capture.lines(), ElementsAre(errorLine(" SSF LIB returned", std::string("29 :: ") + kUnknown)));
}

TEST_F(ReturnCodeOfALibrary, UnknownCodesAreShownInHexadecimal) {
    EXPECT_THAT(trace(999), ElementsAre("VORAKSSO2 ticket SSF error description: Unknown SSF-RC 0x000003e7 ."));
    EXPECT_THAT(trace(0x7fffffff), ElementsAre("VORAKSSO2 ticket SSF error description: Unknown SSF-RC 0x7fffffff ."));
}

TEST_F(ReturnCodeOfALibrary, CodesThatAreNotPositiveAreLookedUpAsMinusOne) {
    EXPECT_THAT(trace(0), ElementsAre("*** ERROR =>  SsfVerify returned 0 :: SSF_API_OK :: Operation ok. [secuload]",
                                      "VORAKSSO2 ticket SSF error description: Unknown SSF-RC 0xffffffff ."));
    EXPECT_EQ(crypto_.argument("SsfSecTKLastErrorInfo", "code"), "-1");
    EXPECT_THAT(trace(-7), ElementsAre("VORAKSSO2 ticket SSF error description: Unknown SSF-RC 0xffffffff ."));
}

TEST_F(ReturnCodeOfALibrary, FailedQueryOnlyCostsTheSecondLine) {
    crypto_->functions["SsfSecTKLastErrorInfo"].result = 13;
    EXPECT_THAT(trace(22), ElementsAre(kLine22));
}

TEST_F(ReturnCodeOfALibrary, Level1ShowsTheCodeOnly) {
    crypto_->errorHasInfo = 1;
    crypto_->errorText2 = "no key";
    EXPECT_THAT(trace(22, 1), ElementsAre(kLine22));
}

TEST_F(ReturnCodeOfALibrary, WithTheTraceOffNothingIsWritten) {
    EXPECT_THAT(trace(22, 0), IsEmpty());
    SsfTraceReturnCode(" SsfVerify returned", 22, &loaded_.table);
    SsfTraceReturnCode(" SSF LIB returned", 22, nullptr);
}

}  // namespace
}  // namespace quorvanti::test

// What the COM face decides without the platform.
#include "bindings/com/com_values.h"

#include <quorvanti/voraksso.h>

#include <gtest/gtest.h>

#include <numeric>

using namespace quorvanti::com;

namespace {

TEST(ComValues, AResultCarriesTheLowHalfOfTheEnginesCode) {
    EXPECT_EQ(resultOfEngine(VORAK_CRYPTO_FAILED), 0x8004000EU);
    EXPECT_EQ(resultOfEngine(0x00190005), 0x80040005U);
    EXPECT_EQ(resultOfEngine(VORAK_NOT_BASE64), 0x80040501U);
    EXPECT_EQ(resultOfEngine(-1), 0x8004FFFFU);
}

TEST(ComValues, ARequestIsANumberOrAName) {
    const char* const names[] = {"SUBJECT",  "ISSUER",      "SERIALNO", "SUMMARY", "SERIAL",
                                 "VALIDITY", "FINGERPRINT", "ALGID",    "ALL"};
    for (int number = 0; number < 9; ++number) {
        EXPECT_STREQ(certificateRequest(number), names[number]);
        EXPECT_STREQ(certificateRequest(std::string_view(names[number])), names[number]);
        EXPECT_STREQ(certificateRequest(std::string_view(std::to_string(number))), names[number]);
    }
    EXPECT_EQ(certificateRequest(9), nullptr);
    EXPECT_EQ(certificateRequest(-1), nullptr);
    EXPECT_EQ(certificateRequest(std::int64_t{1} << 32), nullptr);
    for (const std::string_view text : {"", "9", "x", "subject", "SUBJECTS", "00", "-1"}) {
        EXPECT_EQ(certificateRequest(text), nullptr) << text;
    }
}

TEST(ComValues, AFailureOfACertificateTellsWhatCouldNotBeRead) {
    EXPECT_EQ(certificateFailure(nullptr, VORAK_NO_CERTIFICATE, false), "Unknown certificate information requested.");
    EXPECT_EQ(certificateFailure("SUBJECT", VORAK_NO_CERTIFICATE, false),
              "BLOB couldn't be converted into certificate structure.");
    EXPECT_EQ(certificateFailure("SUBJECT", VORAK_NO_CERTIFICATE, true),
              "Couldn't convert ASN.1 structure into flat name.");
    EXPECT_EQ(certificateFailure("ALGID", VORAK_NO_CERTIFICATE, true), "Unknown certificate information requested.");
    EXPECT_EQ(certificateFailure("ALGID", VORAK_INVALID, false), "Parsing of certificate failed with error=9");
}

TEST(ComValues, ACertificateGoesOutAsBase64AndComesBack) {
    for (std::size_t length : {1U, 2U, 3U, 4U, 5U, 4096U}) {
        std::vector<std::uint8_t> bytes(length);
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{250});
        const std::optional<std::string> text = certificateText(bytes);
        ASSERT_TRUE(text.has_value()) << length;
        EXPECT_EQ(text->size(), (length + 2) / 3 * 4);
        EXPECT_EQ(certificateBytes(*text), bytes);
    }
    EXPECT_EQ(certificateText(std::vector<std::uint8_t>{0xFB, 0xFF}), "+/8=");
    EXPECT_EQ(certificateText({}), std::nullopt);
}

TEST(ComValues, LineBreaksInACertificateDoNotCount) {
    EXPECT_EQ(certificateBytes("TW\r\nFu\n"), (std::vector<std::uint8_t>{'M', 'a', 'n'}));
    EXPECT_TRUE(certificateBytes("").empty());
    EXPECT_TRUE(certificateBytes("!?").empty());
}

}  // namespace

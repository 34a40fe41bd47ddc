// Times as DER writes them, against the toolkit's reading and writing.
#include "providers/openssl/utc_time.h"

#include <gtest/gtest.h>

#include "providers/openssl/openssl_context.h"

namespace quorvanti::provider {
namespace {

using TimePtr = std::unique_ptr<ASN1_TIME, OpensslDeleter<ASN1_TIME_free>>;

std::optional<std::int64_t> read(std::uint8_t tag, std::string_view text) {
    return secondsOf(DerElement{tag, {}, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}});
}

// The toolkit is given the texts: it writes times by the C library, and that of Windows knows none before 1970.
TEST(DerTime, IsWrittenAndReadAsTheToolkitReadsIt) {
    struct Row {
        std::int64_t seconds;
        std::string text;
    };
    const Row rows[] = {
        {-631152001, "19491231235959Z"}, {-631152000, "500101000000Z"},
        {-1, "691231235959Z"},           {0, "700101000000Z"},
        {951782399, "000228235959Z"},    {951782400, "000229000000Z"},
        {1780272000, "260601000000Z"},   {2524607999, "491231235959Z"},
        {2524608000, "20500101000000Z"}, {253402300799, "99991231235959Z"},
    };
    for (const auto& [seconds, text] : rows) {
        EXPECT_EQ(derTimeText(seconds), text);
        const TimePtr time(ASN1_TIME_new());
        ASSERT_EQ(ASN1_TIME_set_string(time.get(), text.c_str()), 1) << text;
        const bool shortYear = ASN1_STRING_type(time.get()) == V_ASN1_UTCTIME;
        EXPECT_EQ(text.size() == 13, shortYear) << text;
        EXPECT_EQ(read(shortYear ? tag::utcTime : tag::generalizedTime, text), seconds);
        EXPECT_EQ(secondsOf(time.get()), seconds) << text;
    }
}

TEST(DerTime, IsReadInItsOneFormOnly) {
    EXPECT_EQ(read(tag::utcTime, "260601000000Z"), 1780272000);
    EXPECT_EQ(read(tag::generalizedTime, "20260601000000Z"), 1780272000);
    EXPECT_EQ(read(tag::generalizedTime, "260601000000Z"), std::nullopt);
    EXPECT_EQ(read(tag::utcTime, "20260601000000Z"), std::nullopt);
    EXPECT_EQ(read(tag::octetString, "260601000000Z"), std::nullopt);
    for (const char* text :
         {"", "Z", "2606010000Z", "260601000000", "260601000000z", "260601000000+", "2606010000000", "26060100000 Z",
          "260601000060Z", "260601006000Z", "260601240000Z", "260600000000Z", "260631000000Z", "261301000000Z",
          "260001000000Z", "270229000000Z", "-60601000000Z", "260601000000.5Z", "260601000000+0000"}) {
        EXPECT_EQ(read(tag::utcTime, text), std::nullopt) << text;
    }
    EXPECT_NE(read(tag::utcTime, "280229000000Z"), std::nullopt);
}

}  // namespace
}  // namespace quorvanti::provider

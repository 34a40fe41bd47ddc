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

TEST(DerTime, IsWrittenAndReadAsTheToolkitDoes) {
    constexpr std::int64_t second1950 = -631152000;
    constexpr std::int64_t second2050 = 2524608000;
    for (const std::int64_t seconds :
         {second1950 - 1, second1950, std::int64_t{-1}, std::int64_t{0}, std::int64_t{951782399},
          std::int64_t{951782400}, std::int64_t{1780272000}, second2050 - 1, second2050, std::int64_t{253402300799}}) {
        const TimePtr time(ASN1_TIME_set(nullptr, static_cast<time_t>(seconds)));
        const std::string text = derTimeText(seconds);
        EXPECT_EQ(text, std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(time.get())),
                                    static_cast<std::size_t>(ASN1_STRING_length(time.get()))));
        const bool shortYear = ASN1_STRING_type(time.get()) == V_ASN1_UTCTIME;
        EXPECT_EQ(text.size() == 13, shortYear);
        EXPECT_EQ(read(shortYear ? tag::utcTime : tag::generalizedTime, text), seconds);
        EXPECT_EQ(secondsOf(time.get()), seconds);
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

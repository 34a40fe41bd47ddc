#include "sec/voraksso/validity.h"

#include "tests/sec/voraksso/engine_fixture.h"

#include <limits>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

struct Contents {
    ContentList list;

    Contents& text(std::uint32_t id, std::string_view text) { return add(id, bytesOf(text)); }
    Contents& number(std::uint32_t id, std::int32_t value) {
        const auto bits = static_cast<std::uint32_t>(value);
        return add(id, {static_cast<std::uint8_t>(bits >> 24), static_cast<std::uint8_t>(bits >> 16),
                        static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)});
    }
    Contents& add(std::uint32_t id, const Bytes& bytes) {
        static constexpr std::uint8_t none = 0;
        std::unique_ptr<ContentNode> node;
        EXPECT_EQ(NewContentNode(bytes.empty() ? &none : bytes.data(), bytes.size(), id, node), VORAK_OK);
        node->convertedLength = node->length;
        EXPECT_EQ(AddContentNode(&list, node), VORAK_OK);
        return *this;
    }
};

struct Answer {
    std::int32_t code;
    std::int32_t remaining;
    bool operator==(const Answer&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << answer.code << "/" << answer.remaining;
}

Answer compute(const Contents& contents) {
    Answer answer{-1, -1};
    answer.code = ComputeValidity(contents.list, answer.remaining);
    return answer;
}

Contents& withHours(Contents& contents, std::time_t created, std::int32_t hours) {
    return contents.text(0x04, TicketBuilder::timeDigits(created)).number(0x05, hours);
}

TEST(SecondsSince1970, CountsTheDayOfTheMonthFromOne) {
    EXPECT_EQ(SecondsSince1970({0, 0, 0, 1, 0, 70}), 86400) << "one day more than the usual count";
    EXPECT_EQ(SecondsSince1970({30, 5, 9, 15, 2, 126}), kNow + 30 + 86400);
}

TEST(SecondsSince1970, AgreesWithTheCalendarOnEveryDayOfFourCenturies) {
    for (std::int64_t day = 0; day < 146097; ++day) {
        ASSERT_EQ(SecondsSince1970(utcTime(day * 86400)), (day + 1) * 86400) << day;
    }
}

TEST(SecondsSince1970, CountsNoYearsBefore1970) {
    EXPECT_EQ(SecondsSince1970({0, 0, 0, 1, 0, 69}), 86400);
    EXPECT_EQ(SecondsSince1970({0, 0, 0, 1, 2, 68}), (31 + 29 + 1) * 86400) << "but their leap days";
    EXPECT_EQ(SecondsSince1970({59, 59, 23, 31, 11, -1900}), 366 * 86400 + 86399);
}

TEST(CurrentMinute, IsTheCalendarTimeWithoutItsSeconds) {
    for (const std::int64_t now : {std::int64_t{-86401}, std::int64_t{-1}, std::int64_t{0}, std::int64_t{59},
                                   std::int64_t{kNow} + 61, std::int64_t{4102444799}}) {
        const FixedClock clock(now);
        CalendarTime time = utcTime(now);
        time.second = 0;
        EXPECT_EQ(currentMinute(), SecondsSince1970(time)) << now;
    }
}

TEST(CreationTime, MustBeADate) {
    const auto parse = [](std::string_view text) { return parseCreationTime(bytesOf(text)).has_value(); };
    EXPECT_TRUE(parse("202603150905"));
    EXPECT_TRUE(parse("202402290000"));
    EXPECT_TRUE(parse("200002292359"));
    EXPECT_FALSE(parse("202302290000")) << "no leap year";
    EXPECT_FALSE(parse("210002290000")) << "no leap year";
    EXPECT_FALSE(parse("202613010000")) << "month 13";
    EXPECT_FALSE(parse("202600010000")) << "month 0";
    EXPECT_FALSE(parse("202604310000")) << "31st of April";
    EXPECT_FALSE(parse("202604000000")) << "day 0";
    EXPECT_FALSE(parse("202604012400")) << "hour 24";
    EXPECT_FALSE(parse("202604010060")) << "minute 60";
    EXPECT_FALSE(parse("2026040100 0")) << "a blank";
    EXPECT_FALSE(parse("2026040100-1")) << "a sign";
    EXPECT_FALSE(parse("20260401000")) << "eleven characters";
    EXPECT_FALSE(parse("2026040100000")) << "thirteen characters";
}

TEST(ComputeValidity, GivesTheSecondsLeft) {
    const FixedClock clock;
    Contents contents;
    EXPECT_EQ(compute(withHours(contents, kNow - 3600, 8)), (Answer{VORAK_OK, 7 * 3600}));
}

TEST(ComputeValidity, CountsBothTimesInWholeMinutes) {
    const FixedClock clock(kNow + 59);
    Contents contents;
    EXPECT_EQ(compute(withHours(contents, kNow, 1)), (Answer{VORAK_OK, 3600}));
}

TEST(ComputeValidity, ATicketExactlyAtItsLimitIsStillValid) {
    const FixedClock clock(kNow + 59);
    Contents atLimit;
    EXPECT_EQ(compute(withHours(atLimit, kNow - 3600, 1)), (Answer{VORAK_OK, 0}));
    FixedClock::set(kNow + 60);
    EXPECT_EQ(compute(atLimit), (Answer{VORAK_TICKET_EXPIRED, 0}));
}

TEST(ComputeValidity, ATicketWithZeroHoursAndNinetyMinutesIsValidForThirtyMinutesOnly) {
    const FixedClock clock;
    Contents contents;
    withHours(contents, kNow, 0).number(0x07, 90);
    EXPECT_EQ(compute(contents), (Answer{VORAK_OK, 30 * 60}));
}

TEST(ComputeValidity, MinutesAloneAreEnough) {
    const FixedClock clock;
    Contents contents;
    contents.text(0x04, TicketBuilder::timeDigits(kNow)).number(0x07, 2);
    EXPECT_EQ(compute(contents), (Answer{VORAK_OK, 120}));
}

TEST(ComputeValidity, ATicketWithHours596524IsValidFor2147482800SecondsWhateverItsMinutes) {
    const FixedClock clock;
    for (const std::int32_t hours : {596524, std::numeric_limits<std::int32_t>::max()}) {
        Contents contents;
        withHours(contents, kNow, hours).number(0x07, 59);
        EXPECT_EQ(compute(contents), (Answer{VORAK_OK, 2147482800}));
    }
}

TEST(ComputeValidity, SumsThatExceed32BitsAreExactAndWhatIsHandedOutIsCapped) {
    const FixedClock clock;
    Contents contents;
    withHours(contents, kNow, 596523).number(0x07, 59);
    EXPECT_EQ(compute(contents), (Answer{VORAK_OK, std::numeric_limits<std::int32_t>::max()}));
    FixedClock::set(kNow + 3600);
    EXPECT_EQ(compute(contents), (Answer{VORAK_OK, 2147482800 - 60}));
}

TEST(ComputeValidity, ANegativeDurationHasExpired) {
    const FixedClock clock;
    Contents contents;
    EXPECT_EQ(compute(withHours(contents, kNow, -1)), (Answer{VORAK_TICKET_EXPIRED, 0}));
    Contents smallest;
    EXPECT_EQ(compute(withHours(smallest, kNow, std::numeric_limits<std::int32_t>::min())),
              (Answer{VORAK_TICKET_EXPIRED, 0}));
}

TEST(ComputeValidity, ATicketFromTheFutureIsValidForLonger) {
    const FixedClock clock;
    Contents contents;
    EXPECT_EQ(compute(withHours(contents, kNow + 600, 1)), (Answer{VORAK_OK, 4200}));
}

TEST(ComputeValidity, NeedsCreationTimeAndADuration) {
    const FixedClock clock;
    Contents none;
    EXPECT_EQ(compute(none.number(0x05, 1)).code, VORAK_MALFORMED);
    Contents timeOnly;
    EXPECT_EQ(compute(timeOnly.text(0x04, "202603150905")).code, VORAK_MALFORMED);
}

TEST(ComputeValidity, ADurationUnitThatIsNoFourBytesIsMalformed) {
    const FixedClock clock;
    for (const std::size_t length : {0U, 1U, 3U, 5U}) {
        for (const std::uint32_t id : {0x05U, 0x07U}) {
            Contents contents;
            contents.text(0x04, TicketBuilder::timeDigits(kNow)).add(id, Bytes(length, 0));
            EXPECT_EQ(compute(contents).code, VORAK_MALFORMED) << length << " bytes in unit " << id;
        }
    }
}

TEST(ComputeValidity, TracesEachStep) {
    const FixedClock clock;
    const TraceCapture trace(2);
    Contents contents;
    withHours(contents, kNow - 3600, 1).number(0x07, 5);
    EXPECT_EQ(compute(contents).code, VORAK_OK);
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{"Got date 202603150805 from ticket.", "Cur time = 202603150905.",
                                                       "Computing validity in hours.", "Computing validity in minutes.",
                                                       "CurTime_t = 1773651900, CreTime_t = 1773648300 ",
                                                       "validity: 3900, difference:   3600.000."}));
}

TEST(ComputeValidity, SaysThatACreationTimeHasTheWrongLength) {
    const FixedClock clock;
    const TraceCapture trace(1);
    Contents contents;
    EXPECT_EQ(compute(contents.text(0x04, "20260315").number(0x05, 1)).code, VORAK_MALFORMED);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{"*** ERROR => invalid format: ticket creation date (len=8) [ssoxxlnk]"});
}

}  // namespace
}  // namespace quorvanti

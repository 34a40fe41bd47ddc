// Each member by name: what distinguishes it from the others, and what it hands to the error hook.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

#include "tests/krn/rscp/utf_support.h"

namespace quorvanti::utf_test {
namespace {

std::string testName(const testing::TestParamInfo<Member>& info) {
    return std::string(info.param.name) + (info.param.controls == ControlCodes::refused ? "_refusing" : "");
}

bool operator==(const Member& left, const Member& right) {
    return left.direction == right.direction && left.form == right.form && left.order == right.order &&
           left.controls == right.controls;
}

class UtfDecoderMember : public testing::TestWithParam<Member> {};
class UtfEncoderMember : public testing::TestWithParam<Member> {};

std::vector<Member> membersOf(Direction direction) {
    std::vector<Member> members;
    for (const Member& row : kMembers) {
        if (row.direction == direction) {
            members.push_back(row);
        }
    }
    return members;
}

INSTANTIATE_TEST_SUITE_P(All, UtfDecoderMember, testing::ValuesIn(membersOf(Direction::fromUtf8)), testName);
INSTANTIATE_TEST_SUITE_P(All, UtfEncoderMember, testing::ValuesIn(membersOf(Direction::toUtf8)), testName);

TEST(UtfMembers, AreTwentyFourDifferentFunctionsOfAllInstructions) {
    for (const Member& row : kMembers) {
        for (const Member& other : kMembers) {
            ASSERT_TRUE(&row == &other || !(row == other)) << row.name;
        }
    }
    std::vector<const void*> functions;
    for (const UtfInstructions instructions : availableInstructions()) {
        for (const Member& row : kMembers) {
            if (row.direction == Direction::toUtf8) {
                functions.push_back(
                    std::bit_cast<const void*>(utfEncoder(row.form, row.order, row.controls, instructions)));
            } else {
                functions.push_back(
                    std::bit_cast<const void*>(utfDecoder(row.form, row.order, row.controls, instructions)));
            }
        }
    }
    std::sort(functions.begin(), functions.end());
    const auto different =
        static_cast<std::size_t>(std::unique(functions.begin(), functions.end()) - functions.begin());
    EXPECT_EQ(different, 24 * availableInstructions().size());
}

TEST(UtfMembers, AreOfTheFastestInstructionsUnlessToldOtherwise) {
    EXPECT_EQ(fastestUtfInstructions(), availableInstructions().back());
    for (const Member& row : kMembers) {
        if (row.direction == Direction::toUtf8) {
            EXPECT_EQ(utfEncoder(row.form, row.order, row.controls),
                      utfEncoder(row.form, row.order, row.controls, fastestUtfInstructions()));
        } else {
            EXPECT_EQ(utfDecoder(row.form, row.order, row.controls),
                      utfDecoder(row.form, row.order, row.controls, fastestUtfInstructions()));
        }
    }
}

TEST_P(UtfDecoderMember, WritesItsFormInItsByteOrder) {
    const Bytes text = {'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xED, 0xA0, 0x80};
    const Outcome outcome = run(GetParam(), text);
    EXPECT_EQ(outcome, (Outcome{0, "", text.size(), wideBytes(GetParam(), {'a', 0xE9, 0x20AC, 0xD800}), 0}));
}

TEST_P(UtfDecoderMember, TreatsCharactersBeyondSixteenBitsAsItsFormDoes) {
    const Outcome outcome = run(GetParam(), {'a', 0xF0, 0x9F, 0x98, 0x80});
    switch (GetParam().form) {
        case WideForm::ucs2:
            EXPECT_EQ(outcome, (Outcome{2048, "UTF-8 bejond UCS-2", 4, wideBytes(GetParam(), {'a'}), 0}));
            break;
        case WideForm::utf16:
            EXPECT_EQ(outcome, (Outcome{0, "", 5, wideBytes(GetParam(), {'a', 0xD83D, 0xDE00}), 0}));
            break;
        case WideForm::ucs4:
            EXPECT_EQ(outcome, (Outcome{0, "", 5, wideBytes(GetParam(), {'a', 0x1F600}), 0}));
            break;
    }
}

TEST_P(UtfDecoderMember, AllowsOrRefusesControlCodes) {
    for (const Bytes& control :
         {Bytes{0x00}, Bytes{0x09}, Bytes{0x1F}, Bytes{0x7F}, Bytes{0xC2, 0x81}, Bytes{0xC2, 0x9F}}) {
        const Outcome outcome = run(GetParam(), control);
        if (GetParam().controls == ControlCodes::refused) {
            EXPECT_EQ(outcome, (Outcome{2048, "control codes not allowed here", 0, {}, 0}));
        } else {
            const std::uint32_t value = control.back();
            EXPECT_EQ(outcome, (Outcome{0, "", control.size(), wideBytes(GetParam(), {value}), 0}));
        }
    }
    for (const Bytes& character : {Bytes{0x20}, Bytes{0x7E}, Bytes{0xC2, 0x80}, Bytes{0xC2, 0xA0}}) {
        const std::uint32_t value = character.back();
        EXPECT_EQ(run(GetParam(), character), (Outcome{0, "", character.size(), wideBytes(GetParam(), {value}), 0}));
    }
}

TEST_P(UtfDecoderMember, StoresTheSubstituteInItsByteOrderAndCountsIt) {
    const Outcome outcome = run(GetParam(), {0x80, 'b', 0xFF}, kRoomy, 0x20AC);
    EXPECT_EQ(outcome, (Outcome{0, "", 3, wideBytes(GetParam(), {0x20AC, 'b', 0x20AC}), 2}));
}

TEST_P(UtfDecoderMember, SubstitutesWithoutACounter) {
    const Bytes text = {0xFE};
    std::uint32_t unit = 0x3F3F3F3F;
    std::uint8_t room[4] = {};
    const std::uint8_t* source = text.data();
    std::uint8_t* destination = room;
    const UtfDecoder decoder = utfDecoder(GetParam().form, GetParam().order, GetParam().controls);
    EXPECT_EQ(decoder(source, text.data() + 1, destination, room + 4, &unit, nullptr), 0);
    EXPECT_EQ(static_cast<std::size_t>(destination - room), unitSize(GetParam().form));
    EXPECT_EQ(room[0], 0x3F);
}

TEST_P(UtfDecoderMember, ReportsUnderItsModule) {
    run(GetParam(), {0x80});
    ASSERT_TRUE(lastReport());
    EXPECT_EQ(lastReport()->module, GetParam().module);
}

TEST_P(UtfEncoderMember, ReadsItsFormInItsByteOrder) {
    const Bytes text = wideBytes(GetParam(), {'a', 0xE9, 0x20AC, 0xFFFD});
    EXPECT_EQ(run(GetParam(), text),
              (Outcome{0, "", text.size(), {'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xEF, 0xBF, 0xBD}, 0}));
}

TEST_P(UtfEncoderMember, TreatsSurrogatesAsItsFormDoes) {
    const Outcome outcome = run(GetParam(), wideBytes(GetParam(), {0xD83D, 0xDE00}));
    if (GetParam().form == WideForm::utf16) {
        EXPECT_EQ(outcome, (Outcome{0, "", 4, {0xF0, 0x9F, 0x98, 0x80}, 0}));
    } else {
        const std::size_t consumed = 2 * unitSize(GetParam().form);
        EXPECT_EQ(outcome, (Outcome{0, "", consumed, {0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80}, 0}));
    }
}

TEST_P(UtfEncoderMember, AllowsOrRefusesControlCodes) {
    for (const std::uint32_t control : {0x00U, 0x09U, 0x1FU, 0x7FU, 0x80U, 0x85U, 0x9FU}) {
        const Bytes text = wideBytes(GetParam(), {'a', control});
        const Outcome outcome = run(GetParam(), text);
        if (GetParam().controls == ControlCodes::refused) {
            EXPECT_EQ(outcome, (Outcome{2048, "control code not allowed", unitSize(GetParam().form), {'a'}, 0}));
        } else {
            EXPECT_EQ(outcome.code, 0);
            EXPECT_EQ(outcome.consumed, text.size());
            EXPECT_EQ(outcome.output.back(), control);
        }
    }
    for (const std::uint32_t character : {0x20U, 0x7EU, 0xA0U}) {
        EXPECT_EQ(run(GetParam(), wideBytes(GetParam(), {character})).code, 0);
    }
}

class UcsFourEncoderMember : public testing::TestWithParam<Member> {};

INSTANTIATE_TEST_SUITE_P(All, UcsFourEncoderMember,
                         testing::Values(member("U4_to_U8"), member("U4_to_U8", ControlCodes::refused),
                                         member("U4sw_to_U8"), member("U4sw_to_U8", ControlCodes::refused)),
                         testName);

TEST_P(UcsFourEncoderMember, TreatsValuesBeyondThirtyOneBitsAsItsRowSays) {
    for (const std::uint32_t value : {0x80000000U, 0xFFFFFFFFU}) {
        const Outcome outcome = run(GetParam(), wideBytes(GetParam(), {'a', value, 'b'}));
        if (GetParam().order == ByteOrder::swapped && GetParam().controls == ControlCodes::refused) {
            EXPECT_EQ(outcome, (Outcome{0, "", 12, {'a', 0xFF, 0xBD, 'b'}, 0}));
        } else {
            EXPECT_EQ(outcome, (Outcome{2048, "UCS-4 has only 31 bits.", 4, {'a'}, 0}));
        }
    }
}

TEST_P(UtfEncoderMember, ReportsUnderItsModule) {
    EXPECT_EQ(run(GetParam(), wideBytes(GetParam(), {'a'}), 0), (Outcome{32, "dest buffer overflow", 0, {}, 0}));
    ASSERT_TRUE(lastReport());
    EXPECT_EQ(lastReport()->module, GetParam().module);
}

}  // namespace
}  // namespace quorvanti::utf_test

// The characters at which conversions between UTF-8 and the wide forms usually go wrong.
#include <gtest/gtest.h>

#include "tests/krn/rscp/utf_support.h"

namespace quorvanti::utf_test {
namespace {

constexpr auto kRefused = ControlCodes::refused;

TEST(UtfEdgeCases, TwoThreeAndFourByteCharacters) {
    for (const char* name : {"U8_to_U2", "U8_to_U2sw", "U8_to_U6", "U8_to_U6sw", "U8_to_U4", "U8_to_U4sw"}) {
        const Member& decoder = member(name);
        EXPECT_EQ(run(decoder, {0xC3, 0xA9}), (Outcome{0, "", 2, wideBytes(decoder, {0x00E9}), 0}));
        EXPECT_EQ(run(decoder, {0xE2, 0x82, 0xAC}), (Outcome{0, "", 3, wideBytes(decoder, {0x20AC}), 0}));
    }
    const Bytes grinning = {0xF0, 0x9F, 0x98, 0x80};
    EXPECT_EQ(run(member("U8_to_U6"), grinning),
              (Outcome{0, "", 4, wideBytes(member("U8_to_U6"), {0xD83D, 0xDE00}), 0}));
    EXPECT_EQ(run(member("U8_to_U4"), grinning), (Outcome{0, "", 4, wideBytes(member("U8_to_U4"), {0x1F600}), 0}));
    EXPECT_EQ(run(member("U8_to_U2"), grinning), (Outcome{2048, "UTF-8 bejond UCS-2", 3, {}, 0}));
}

TEST(UtfEdgeCases, OverlongNulAndACharacterCutShort) {
    EXPECT_EQ(run(member("U8_to_U4"), {0xC0, 0x80}), (Outcome{2048, "overlong UTF-8 sequence", 0, {}, 0}));
    EXPECT_EQ(run(member("U8_to_U4"), {'a', 0xC3}),
              (Outcome{512, "source exhausted within a char", 1, wideBytes(member("U8_to_U4"), {'a'}), 0}));
}

TEST(UtfEdgeCases, AnIllegalFollowUpByteIsReadAgainAfterTheSubstitute) {
    const Member& decoder = member("U8_to_U2");
    EXPECT_EQ(run(decoder, {0xC3, 0x41}), (Outcome{2048, "illegal follow-up byte", 0, {}, 0}));
    EXPECT_EQ(run(decoder, {0xC3, 0x41}, kRoomy, 0x3F), (Outcome{0, "", 2, wideBytes(decoder, {0x3F, 0x41}), 1}));
}

TEST(UtfEdgeCases, TheSixByteSequence) {
    const Bytes largest = {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF};
    EXPECT_EQ(run(member("U8_to_U4"), largest), (Outcome{0, "", 6, wideBytes(member("U8_to_U4"), {0x7FFFFFFF}), 0}));
    EXPECT_EQ(run(member("U8_to_U6"), largest), (Outcome{2048, "UTF-8 bejond UTF-32", 5, {}, 0}));
    EXPECT_EQ(run(member("U8_to_U2"), largest), (Outcome{2048, "UTF-8 bejond UCS-2", 5, {}, 0}));
    EXPECT_EQ(run(member("U4_to_U8"), wideBytes(member("U4_to_U8"), {0x7FFFFFFF})), (Outcome{0, "", 4, largest, 0}));
}

TEST(UtfEdgeCases, RefusingMembersDisagreeOnU0080) {
    const Member& decoder = member("U8_to_U6", kRefused);
    EXPECT_EQ(run(decoder, {0x09}), (Outcome{2048, "control codes not allowed here", 0, {}, 0}));
    EXPECT_EQ(run(decoder, {0xC2, 0x85}), (Outcome{2048, "control codes not allowed here", 0, {}, 0}));
    EXPECT_EQ(run(decoder, {0xC2, 0x80}), (Outcome{0, "", 2, wideBytes(decoder, {0x80}), 0}));
    const Member& encoder = member("U6_to_U8", kRefused);
    for (const std::uint32_t refused : {0x80U, 0x7FU}) {
        EXPECT_EQ(run(encoder, wideBytes(encoder, {refused})), (Outcome{2048, "control code not allowed", 0, {}, 0}));
    }
}

TEST(UtfEdgeCases, HalfSurrogates) {
    for (const char* name : {"U6_to_U8", "U6sw_to_U8"}) {
        const Member& encoder = member(name);
        EXPECT_EQ(run(encoder, wideBytes(encoder, {0xD800})), (Outcome{512, "Half surrogate at end", 0, {}, 0}));
        EXPECT_EQ(run(encoder, wideBytes(encoder, {0xD800, 0x41})),
                  (Outcome{2048, "Half surrogate in middle", 0, {}, 0}));
        EXPECT_EQ(run(encoder, wideBytes(encoder, {0xDC00})),
                  (Outcome{2048, "Half low surrogate in middle", 0, {}, 0}));
    }
}

TEST(UtfEdgeCases, BeyondThirtyOneBits) {
    const Member& swapped = member("U4sw_to_U8", kRefused);
    EXPECT_EQ(run(swapped, wideBytes(swapped, {0x80000000})), (Outcome{0, "", 4, {0xFF, 0xBD}, 0}));
    EXPECT_EQ(run(swapped, wideBytes(swapped, {0x80000000}), 1), (Outcome{32, "dest buffer overflow", 0, {}, 0}));
    const Member& native = member("U4_to_U8", kRefused);
    EXPECT_EQ(run(native, wideBytes(native, {0x80000000})), (Outcome{2048, "UCS-4 has only 31 bits.", 0, {}, 0}));
}

TEST(UtfEdgeCases, ADestinationOfTheNeededSizeAndOneShort) {
    const Member& encoder = member("U6_to_U8");
    const Bytes wide = wideBytes(encoder, {'a', 0xE9, 0x20AC});
    EXPECT_EQ(run(encoder, wide, 6), (Outcome{0, "", 6, {'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC}, 0}));
    EXPECT_EQ(run(encoder, wide, 5), (Outcome{32, "dest buffer overflow", 4, {'a', 0xC3, 0xA9}, 0}));
    const Member& decoder = member("U8_to_U6");
    EXPECT_EQ(run(decoder, {'a', 0xC3, 0xA9}, 4), (Outcome{0, "", 3, wideBytes(decoder, {'a', 0xE9}), 0}));
    EXPECT_EQ(run(decoder, {'a', 0xC3, 0xA9}, 2),
              (Outcome{32, "dest buffer overflow", 1, wideBytes(decoder, {'a'}), 0}));
}

TEST(UtfEdgeCases, AnEmptySourceNeedsNoDestination) {
    for (const Member& row : kMembers) {
        EXPECT_EQ(run(row, {}, 0), Outcome{}) << row.name;
    }
}

TEST(UtfEdgeCases, ASourceBehindItsEndIsEmpty) {
    const Bytes text = {'a', 'b', 'c', 'd'};
    for (const Member& row : kMembers) {
        std::uint8_t room[8];
        const std::uint8_t* source = text.data() + 4;
        std::uint8_t* destination = room;
        if (row.direction == Direction::toUtf8) {
            EXPECT_EQ(utfEncoder(row.form, row.order, row.controls)(source, text.data(), destination, room + 8), 0);
        } else {
            EXPECT_EQ(utfDecoder(row.form, row.order, row.controls)(source, text.data(), destination, room + 8, nullptr,
                                                                    nullptr),
                      0);
        }
        EXPECT_EQ(source, text.data() + 4);
        EXPECT_EQ(destination, room);
    }
}

}  // namespace
}  // namespace quorvanti::utf_test

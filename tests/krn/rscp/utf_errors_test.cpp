// Every error of the UTF members with the positions it leaves, the order of the checks, and the error hook.
#include <gtest/gtest.h>

#include <string>

#include "tests/krn/rscp/utf_support.h"

namespace quorvanti::utf_test {
namespace {

constexpr auto kRefused = ControlCodes::refused;

// In front of the offending character stands one that is converted, so that both positions are seen to move.
struct DecoderError {
    const char* member;
    ControlCodes controls;
    Bytes source;
    std::int32_t code;
    const char* message;
    std::size_t consumed;
};

TEST(UtfDecoderErrors, LeaveTheSourceAtTheLeadByteAndAfterARangeErrorAtTheLastByte) {
    const DecoderError errors[] = {
        {"U8_to_U4", ControlCodes::allowed, {'a', 0xE2, 0x82}, 512, "source exhausted within a char", 1},
        {"U8_to_U4",
         ControlCodes::allowed,
         {'a', 0xFC, 0x80, 0x80, 0x80, 0x80},
         512,
         "source exhausted within a char",
         1},
        {"U8_to_U4", ControlCodes::allowed, {'a', 0xBF, 'b'}, 2048, "illegal start byte", 1},
        {"U8_to_U4", ControlCodes::allowed, {'a', 0xFE, 'b'}, 2048, "illegal start byte", 1},
        {"U8_to_U4", ControlCodes::allowed, {'a', 0xE2, 0x82, 'b'}, 2048, "illegal follow-up byte", 1},
        {"U8_to_U4", ControlCodes::allowed, {'a', 0xE2, 0xC2, 0x80}, 2048, "illegal follow-up byte", 1},
        {"U8_to_U4", ControlCodes::allowed, {'a', 0xE0, 0x9F, 0xBF}, 2048, "overlong UTF-8 sequence", 1},
        {"U8_to_U4", ControlCodes::allowed, {'a', 0xF8, 0x87, 0xBF, 0xBF, 0xBF}, 2048, "overlong UTF-8 sequence", 1},
        {"U8_to_U6", ControlCodes::allowed, {'a', 0xF4, 0x90, 0x80, 0x80}, 2048, "UTF-8 bejond UTF-32", 4},
        {"U8_to_U6sw", ControlCodes::allowed, {'a', 0xF8, 0x88, 0x80, 0x80, 0x80}, 2048, "UTF-8 bejond UTF-32", 5},
        {"U8_to_U2", ControlCodes::allowed, {'a', 0xF0, 0x90, 0x80, 0x80}, 2048, "UTF-8 bejond UCS-2", 4},
        {"U8_to_U2sw", kRefused, {'a', 0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, 2048, "UTF-8 bejond UCS-2", 6},
        {"U8_to_U4", kRefused, {'a', 0x0A, 'b'}, 2048, "control codes not allowed here", 1},
        {"U8_to_U4", kRefused, {'a', 0xC2, 0x81, 'b'}, 2048, "control codes not allowed here", 1},
    };
    for (const DecoderError& error : errors) {
        const Member& decoder = member(error.member, error.controls);
        EXPECT_EQ(run(decoder, error.source),
                  (Outcome{error.code, error.message, error.consumed, wideBytes(decoder, {'a'}), 0}));
    }
}

TEST(UtfDecoderErrors, TheLargestValueOfEachFormIsAccepted) {
    EXPECT_EQ(run(member("U8_to_U2"), {0xEF, 0xBF, 0xBF}).output, wideBytes(member("U8_to_U2"), {0xFFFF}));
    EXPECT_EQ(run(member("U8_to_U6"), {0xF4, 0x8F, 0xBF, 0xBF}).output,
              wideBytes(member("U8_to_U6"), {0xDBFF, 0xDFFF}));
}

TEST(UtfDecoderErrors, AFullDestinationIsFoundBeforeAnythingElse) {
    for (const Bytes& bad : {Bytes{0x80}, Bytes{0xC3}, Bytes{0xC0, 0x80}, Bytes{0x0A}}) {
        EXPECT_EQ(run(member("U8_to_U4", kRefused), bad, 0), (Outcome{32, "dest buffer overflow", 0, {}, 0}));
        EXPECT_EQ(run(member("U8_to_U4", kRefused), bad, 0, '?'), (Outcome{32, "dest buffer overflow", 0, {}, 0}));
    }
}

TEST(UtfDecoderErrors, APairWithRoomForOneUnitWritesNeither) {
    for (const std::size_t capacity : {4U, 5U}) {
        EXPECT_EQ(run(member("U8_to_U6"), {'a', 0xF0, 0x9F, 0x98, 0x80}, capacity),
                  (Outcome{32, "dest buffer overflow", 1, wideBytes(member("U8_to_U6"), {'a'}), 0}));
    }
}

TEST(UtfDecoderErrors, AnIllegalOrControlByteAtTheVeryEndIsNotACharacterCutShort) {
    EXPECT_EQ(run(member("U8_to_U2"), {0x80}), (Outcome{2048, "illegal start byte", 0, {}, 0}));
    EXPECT_EQ(run(member("U8_to_U2", kRefused), {0x7F}), (Outcome{2048, "control codes not allowed here", 0, {}, 0}));
}

TEST(UtfDecoderErrors, ACharacterCutShortIsNeverSubstituted) {
    EXPECT_EQ(run(member("U8_to_U4"), {'a', 0xE2, 'b'}, kRoomy, '?'),
              (Outcome{512, "source exhausted within a char", 1, wideBytes(member("U8_to_U4"), {'a'}), 0}));
}

TEST(UtfDecoderErrors, AnIllegalFollowUpByteIsFoundBeforeTheOverlongSequence) {
    EXPECT_EQ(run(member("U8_to_U4"), {0xC0, 0x00}), (Outcome{2048, "illegal follow-up byte", 0, {}, 0}));
}

TEST(UtfDecoderErrors, AControlCodeInTooManyBytesIsOverlong) {
    EXPECT_EQ(run(member("U8_to_U4", kRefused), {0xE0, 0x82, 0x85}),
              (Outcome{2048, "overlong UTF-8 sequence", 0, {}, 0}));
}

TEST(UtfDecoderSubstitution, ResumesBehindTheLeadByteOrBehindTheSequence) {
    const Member& decoder = member("U8_to_U2", kRefused);
    EXPECT_EQ(run(decoder, {0xE2, 0x82, 'b'}, kRoomy, '?'),
              (Outcome{0, "", 3, wideBytes(decoder, {'?', '?', 'b'}), 2}));
    EXPECT_EQ(run(decoder, {0xE0, 0x80, 0x80, 'b'}, kRoomy, '?'),
              (Outcome{0, "", 4, wideBytes(decoder, {'?', 'b'}), 1}));
    EXPECT_EQ(run(decoder, {0xF0, 0x9F, 0x98, 0x80, 'b'}, kRoomy, '?'),
              (Outcome{0, "", 5, wideBytes(decoder, {'?', 'b'}), 1}));
    EXPECT_EQ(run(decoder, {0xC2, 0x85, 'b'}, kRoomy, '?'), (Outcome{0, "", 3, wideBytes(decoder, {'?', 'b'}), 1}));
    EXPECT_EQ(run(decoder, {0x09, 'b'}, kRoomy, '?'), (Outcome{0, "", 2, wideBytes(decoder, {'?', 'b'}), 1}));
}

TEST(UtfDecoderSubstitution, AddsToTheCounter) {
    const Bytes text = {0x80, 0x80};
    const std::uint16_t unit = '?';
    std::uint32_t counter = 40;
    std::uint8_t room[8];
    const std::uint8_t* source = text.data();
    std::uint8_t* destination = room;
    EXPECT_EQ(utfDecoder(WideForm::ucs2, ByteOrder::native, ControlCodes::allowed)(source, source + 2, destination,
                                                                                   room + 8, &unit, &counter),
              0);
    EXPECT_EQ(counter, 42U);
}

TEST(UtfDecoderSubstitution, StopsWhenTheDestinationIsFull) {
    EXPECT_EQ(run(member("U8_to_U2"), {0x80, 0x80, 0x80}, 4, '?'),
              (Outcome{32, "dest buffer overflow", 2, wideBytes(member("U8_to_U2"), {'?', '?'}), 2}));
}

TEST(UtfEncoderErrors, LeaveTheSourceAtTheUnit) {
    const Member& utf16 = member("U6_to_U8");
    EXPECT_EQ(run(utf16, wideBytes(utf16, {'a', 0xDBFF})), (Outcome{512, "Half surrogate at end", 2, {'a'}, 0}));
    EXPECT_EQ(run(utf16, wideBytes(utf16, {'a', 0xD800, 'b'})),
              (Outcome{2048, "Half surrogate in middle", 2, {'a'}, 0}));
    EXPECT_EQ(run(utf16, wideBytes(utf16, {'a', 0xD800, 0xD800})),
              (Outcome{2048, "Half surrogate in middle", 2, {'a'}, 0}));
    EXPECT_EQ(run(utf16, wideBytes(utf16, {'a', 0xDFFF, 'b'})),
              (Outcome{2048, "Half low surrogate in middle", 2, {'a'}, 0}));
    EXPECT_EQ(run(utf16, wideBytes(utf16, {'a', 0xD83D, 0xDE00}), 4),
              (Outcome{32, "dest buffer overflow", 2, {'a'}, 0}));
}

TEST(UtfEncoderErrors, ARefusedUnitIsFoundBeforeTheFullDestination) {
    const Member& utf16 = member("U6_to_U8", kRefused);
    EXPECT_EQ(run(utf16, wideBytes(utf16, {0xD800}), 0), (Outcome{512, "Half surrogate at end", 0, {}, 0}));
    EXPECT_EQ(run(utf16, wideBytes(utf16, {0x09}), 0), (Outcome{2048, "control code not allowed", 0, {}, 0}));
    const Member& ucs4 = member("U4_to_U8");
    EXPECT_EQ(run(ucs4, wideBytes(ucs4, {0x80000000}), 0), (Outcome{2048, "UCS-4 has only 31 bits.", 0, {}, 0}));
}

TEST(UtfEncoderErrors, HalfAUnitAtTheEndIsNeverRead) {
    for (const Member& encoder : kMembers) {
        if (encoder.direction == Direction::toUtf8) {
            Bytes text = wideBytes(encoder, {'a'});
            text.push_back('b');
            EXPECT_EQ(run(encoder, text), (Outcome{512, "source exhausted within a char", text.size() - 1, {'a'}, 0}));
        }
    }
    const Member& utf16 = member("U6_to_U8");
    Bytes text = wideBytes(utf16, {0xD83D});
    text.push_back(0);
    EXPECT_EQ(run(utf16, text), (Outcome{512, "Half surrogate at end", 0, {}, 0}));
}

TEST(UtfDecoderErrors, HalfAUnitAtTheEndOfTheDestinationIsNeverWritten) {
    EXPECT_EQ(run(member("U8_to_U4"), {'a', 'b'}, 7),
              (Outcome{32, "dest buffer overflow", 1, wideBytes(member("U8_to_U4"), {'a'}), 0}));
    EXPECT_EQ(run(member("U8_to_U2"), {'a', 'b'}, 3),
              (Outcome{32, "dest buffer overflow", 1, wideBytes(member("U8_to_U2"), {'a'}), 0}));
}

TEST(UtfErrorHook, GetsClassKindMinusOnePlaceAndMessageAndZeros) {
    run(member("U8_to_U6"), {0xF5, 0x80, 0x80, 0x80});
    ASSERT_TRUE(lastReport());
    EXPECT_EQ(lastReport()->errorClass, kUtfNotConvertible);
    EXPECT_EQ(lastReport()->kind, 'O');
    EXPECT_EQ(lastReport()->value, -1);
    EXPECT_EQ(lastReport()->module, "rscpu86r");
    EXPECT_GT(lastReport()->site, 0);
    EXPECT_GT(lastReport()->line, 0);
    EXPECT_EQ(lastReport()->message, "UTF-8 bejond UTF-32");
    EXPECT_TRUE(lastReport()->trailingZero);
}

TEST(UtfErrorHook, IsNotCalledWithoutAnError) {
    run(member("U8_to_U6"), {0x80, 'a'}, kRoomy, '?');
    EXPECT_FALSE(lastReport());
}

std::int32_t answerSeven(std::int32_t, char, std::int32_t, const char*, std::int32_t, std::int32_t, const char*,
                         const char*, const char*, std::int32_t, std::int32_t, std::int32_t) {
    return 7;
}

std::int32_t decodeIllegalByte() {
    const Bytes text = {0x80};
    std::uint8_t room[8];
    const std::uint8_t* source = text.data();
    std::uint8_t* destination = room;
    return utfDecoder(WideForm::ucs4, ByteOrder::swapped, ControlCodes::allowed)(source, source + 1, destination,
                                                                                 room + 8, nullptr, nullptr);
}

TEST(UtfErrorHook, ItsAnswerIsTheMembersAnswerAndTheDefaultReturnsTheClass) {
    EXPECT_EQ(decodeIllegalByte(), 2048);
    setUtfErrorHook(answerSeven);
    EXPECT_EQ(decodeIllegalByte(), 7);
    setUtfErrorHook(nullptr);
    EXPECT_EQ(decodeIllegalByte(), 2048);
}

}  // namespace
}  // namespace quorvanti::utf_test

#include "krn/rscp/converter.h"

#include "krn/rscp/conversion_methods.h"
#include "krn/rscp/converter_activation.h"
#include "tests/krn/rscp/converter_fixture.h"
#include "tests/support/pattern.h"

#include <array>
#include <cstring>

namespace quorvanti::test {
namespace {

using namespace std::string_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kGruss = "Gr\xFC\xDF";
const std::string kGrussUtf8 = "Gr\xC3\xBC\xC3\x9F";
const std::string kGrussUtf16le = "G\0r\0\xFC\0\xDF\0"s;
const std::string kGrussUtf16be = "\0G\0r\0\xFC\0\xDF"s;
const std::string kGrussUtf32be = "\0\0\0G\0\0\0r\0\0\0\xFC\0\0\0\xDF"s;

TEST_F(ConverterTest, Latin1BecomesUtf8) {
    const Converted converted = convert("1100", "4110", kGruss);
    EXPECT_EQ(converted.code, 0);
    EXPECT_EQ(converted.output, kGrussUtf8);
    EXPECT_EQ(converted.consumed, kGruss.size());
}

TEST_F(ConverterTest, OneTextInEveryForm) {
    const std::map<std::string, std::string> forms = {
        {"1100", kGruss},        {"1160", kGruss},        {"4100", kGrussUtf16be},
        {"4101", kGrussUtf16le}, {"4102", kGrussUtf16be}, {"4103", kGrussUtf16le},
        {"4104", kGrussUtf32be}, {"4110", kGrussUtf8},    {"4120", kGrussUtf8},
    };
    for (const auto& [source, input] : forms) {
        for (const auto& [target, output] : forms) {
            const Converted converted = convert(source.c_str(), target.c_str(), input);
            EXPECT_EQ(converted.code, 0) << source << "->" << target;
            EXPECT_EQ(converted.output, output) << source << "->" << target;
            EXPECT_EQ(converted.consumed, input.size()) << source << "->" << target;
        }
    }
}

TEST_F(ConverterTest, Windows1252HasItsOwnCharacters) {
    EXPECT_EQ(convert("1160", "4110", "\x80\x9F").output, "\xE2\x82\xAC\xC5\xB8");
    EXPECT_EQ(convert("4110", "1160", "\xE2\x82\xAC\xC5\xB8").output, "\x80\x9F");
    EXPECT_EQ(convert("1160", "1100",
                      "\x80"
                      "a")
                  .output,
              "#a");
}

TEST_F(ConverterTest, EmptySourceConvertsToNothing) {
    for (const char* target : {"1100", "1160", "4110", "4103", "4105"}) {
        EXPECT_EQ(convert("1100", target, "", 0).code, 0) << target;
    }
}

TEST_F(ConverterTest, TooShortDestinationStopsBehindTheLastWholeCharacter) {
    // Needed sizes at which the output of "Grüß" may end.
    const std::vector<std::size_t> ends = {0, 1, 2, 2, 4, 4};
    const std::vector<std::size_t> consumed = {0, 1, 2, 2, 3, 3};
    for (std::size_t room = 0; room < kGrussUtf8.size(); ++room) {
        const Converted converted = convert("1100", "4110", kGruss, room);
        EXPECT_EQ(converted.code, RSCPETOOLONG);
        EXPECT_EQ(message(), "char code longer than output buffer");
        EXPECT_EQ(converted.output, kGrussUtf8.substr(0, ends[room]));
        EXPECT_EQ(converted.consumed, consumed[room]);
    }
    EXPECT_EQ(convert("1100", "4110", kGruss, kGrussUtf8.size()).code, 0);
}

TEST_F(ConverterTest, TooShortDestinationKeepsUnitsWholeInTheWideForms) {
    for (std::size_t room = 0; room < 16; ++room) {
        const Converted wide = convert("1100", "4104", kGruss, room);
        EXPECT_EQ(wide.code, RSCPETOOLONG);
        EXPECT_EQ(wide.output, kGrussUtf32be.substr(0, room / 4 * 4));
    }
    for (std::size_t room = 0; room < 8; ++room) {
        const Converted wide = convert("4110", "4103", kGrussUtf8, room);
        EXPECT_EQ(wide.code, RSCPETOOLONG);
        EXPECT_EQ(wide.output, kGrussUtf16le.substr(0, room / 2 * 2));
    }
}

TEST_F(ConverterTest, DirectCopyEndsAtAWholeCharacter) {
    EXPECT_EQ(convert("1100", "1100", "abc", 2).output, "ab");
    EXPECT_EQ(message(), "char code longer than output buffer");
    EXPECT_EQ(convert("4110", "4110", "a\xE2\x82\xAC", 3).output, "a");
    EXPECT_EQ(convert("4110", "4110",
                      "a\xE2\x82\xAC"
                      "b",
                      4)
                  .output,
              "a\xE2\x82\xAC");
    EXPECT_EQ(convert("4110", "4110", "a\xFD\xBF\xBF\xBF\xBF\xBF", 6).output, "a");
    const std::string smiley = "a\0\x3D\xD8\x00\xDE"s;
    EXPECT_EQ(convert("4103", "4103", smiley, 5).output, "a\0"s);
    EXPECT_EQ(convert("4102", "4102", "\0a\xD8\x3D\xDE\x00"s, 4).output, "\0a"s);
    EXPECT_EQ(convert("4101", "4101", smiley, 5).output, smiley.substr(0, 4));
    EXPECT_EQ(convert("4105", "4105", "a\0\0\0b\0\0\0"s, 7).output, "a\0\0\0"s);
    EXPECT_EQ(convert("4103", "4103", smiley, 6).code, 0);
}

TEST_F(ConverterTest, DirectCopyLeavesEveryByteAsItIs) {
    const std::string bytes = "\x00\x09\x80\xFF\xC3"s;
    EXPECT_EQ(convert("4110", "4110", bytes).output, bytes);
}

TEST_F(ConverterTest, InPlaceWith512BytesSucceeds) {
    rscpCObj_t object = activated("1100", "4110");
    std::vector<std::uint8_t> buffer(1024, 0xFC);
    std::uint8_t* destination = buffer.data();
    const std::uint8_t* source = buffer.data();
    EXPECT_EQ(rscpCConvert(&object, destination, buffer.data() + buffer.size(), source, buffer.data() + 512), 0);
    EXPECT_EQ(source, buffer.data() + 512);
    ASSERT_EQ(destination, buffer.data() + 1024);
    for (std::size_t index = 0; index < 1024; index += 2) {
        ASSERT_EQ(buffer[index], 0xC3);
        ASSERT_EQ(buffer[index + 1], 0xBC);
    }
    EXPECT_THAT(trace(), Contains(MatchesPattern("rscpc.c/140/\\([0-9]+\\): overlapping buffers at .* \\.")));
}

TEST_F(ConverterTest, InPlaceWith513BytesFails) {
    rscpCObj_t object = activated("1100", "4110");
    std::vector<std::uint8_t> buffer(2048, 'a');
    std::uint8_t* destination = buffer.data();
    const std::uint8_t* source = buffer.data();
    EXPECT_EQ(rscpCConvert(&object, destination, buffer.data() + buffer.size(), source, buffer.data() + 513),
              RSCPEINVAL);
    EXPECT_EQ(message(), "overlapping buffers");
    char expected[80];
    std::snprintf(expected, sizeof expected, "rscpCConvert&%p&==&%p&", static_cast<void*>(buffer.data()),
                  static_cast<void*>(buffer.data()));
    EXPECT_EQ(detail(), expected);
    EXPECT_EQ(source, buffer.data());
    EXPECT_EQ(destination, buffer.data());
}

TEST_F(ConverterTest, InPlaceFailureMovesTheSourceToWhereItStopped) {
    rscpCObj_t object = activated("1100", "4110");
    std::vector<std::uint8_t> buffer(4, 0xFC);
    std::uint8_t* destination = buffer.data();
    const std::uint8_t* source = buffer.data();
    EXPECT_EQ(rscpCConvert(&object, destination, buffer.data() + 4, source, buffer.data() + 4), RSCPETOOLONG);
    EXPECT_EQ(source, buffer.data() + 2);
    EXPECT_EQ(destination, buffer.data() + 4);
}

TEST_F(ConverterTest, NeverActivatedObjectIsRefused) {
    ASSERT_EQ(rscpCInit(), 0);
    rscpCObj_t object = makeObject("1100", "4110");
    const Converted converted = convert(object, "abc");
    EXPECT_EQ(converted.code, RSCPENOCONV);
    EXPECT_EQ(message(), "missing char code param");
    EXPECT_EQ(converted.consumed, 0U);
}

TEST_F(ConverterTest, MissingObjectIsRefused) {
    EXPECT_EQ(rscpCActivate(nullptr, true, true), RSCPEINVAL);
    EXPECT_EQ(message(), "missing converter object address");
    std::uint8_t* destination = nullptr;
    const std::uint8_t* source = nullptr;
    EXPECT_EQ(rscpCConvert(nullptr, destination, nullptr, source, nullptr), RSCPEINVAL);
    EXPECT_EQ(message(), "missing converter object address");
}

TEST_F(ConverterTest, EndBeforeStartIsRefused) {
    rscpCObj_t object = activated("1100", "4110");
    std::uint8_t buffer[8] = {};
    std::uint8_t* destination = buffer;
    const std::uint8_t* source = buffer + 4;
    EXPECT_EQ(rscpCConvert(&object, destination, buffer + 2, source, buffer + 2), RSCPEINVAL);
    EXPECT_EQ(message(), "end of buffer before its start");
    destination = buffer + 2;
    EXPECT_EQ(rscpCConvert(&object, destination, buffer, source, buffer + 8), RSCPEINVAL);
    EXPECT_EQ(destination, buffer + 2);
    EXPECT_EQ(source, buffer + 4);
}

TEST_F(ConverterTest, UnknownSourceCodePageFailsActivation) {
    rscpCObj_t object = makeObject("9999", "4110");
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_EQ(rscpCActivate(&object, true, true), RSCPENOOBJ);
    EXPECT_EQ(message(), "in character code 9999 is unknown");
    EXPECT_STREQ(rscpeCurrent()->cause, "cp shall be read, but no source available");
    EXPECT_EQ(convert(object, "abc").code, RSCPENOCONV);
}

TEST_F(ConverterTest, UnknownTargetCodePageFailsActivation) {
    rscpCObj_t object = makeObject("1100", "9999");
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_EQ(rscpCActivate(&object, true, true), RSCPENOOBJ);
    EXPECT_EQ(message(), "out character code 9999 is unknown");
}

TEST_F(ConverterTest, CodePageThatIsNotFourDigitsIsUnknown) {
    ASSERT_EQ(rscpCInit(), 0);
    for (const auto& [codePage, shown] : std::map<std::string, std::string>{
             {"0000", "0000"}, {"../x", "../x"}, {"a b\n", "a?b?"}, {"\xFF\0 1"s, "???1"}, {"12/4", "12/4"}}) {
        rscpCObj_t object = makeObject(codePage.data(), codePage.data());
        EXPECT_EQ(rscpCActivate(&object, true, true), RSCPENOOBJ);
        EXPECT_EQ(message(), "in character code " + shown + " is unknown");
        EXPECT_STREQ(rscpeCurrent()->cause, "");  // nothing of the error before
        object = makeObject("4110", codePage.data());
        EXPECT_EQ(rscpCActivate(&object, true, true), RSCPENOOBJ);
        EXPECT_EQ(message(), "out character code " + shown + " is unknown");
    }
}

TEST_F(ConverterTest, UnsupportedPairIsNamed) {
    ASSERT_EQ(rscpCInit(), 0);
    rscpCObj_t object = makeObject("4000", "4110");
    EXPECT_EQ(rscpCActivate(&object, true, true), RSCPENOCONV);
    EXPECT_EQ(message(), "code page '4000'->'4110' unsupported pair NLS_KAV16->NLS_UTF_8");
    object = makeObject("1100", "8341");
    EXPECT_EQ(rscpCActivate(&object, true, true), RSCPENOCONV);
    EXPECT_EQ(message(), "code page '1100'->'8341' unsupported pair NLS_not->NLS_HK_U31_Ch");
}

TEST_F(ConverterTest, Iso2022CannotBeCombined) {
    const CodePageDescription shifted{"8900", NlsKind::NLS_JIS, true, "    ", "ISO-2022-JP"};
    const CodePageDescription latin1 = *findCodePageDescription("1100");
    EXPECT_EQ(unsupportedPair(shifted, latin1), RSCPENOCONV);
    EXPECT_EQ(message(), "'8900'->'1100': NLS_JIS->NLS_not cannot combine NLS_not with ISO-2022");
    EXPECT_EQ(unsupportedPair(latin1, shifted), RSCPENOCONV);
    EXPECT_EQ(message(), "'1100'->'8900': NLS_not->NLS_JIS cannot combine NLS_not with ISO-2022");
}

TEST_F(ConverterTest, CharacterThatTheTargetLacksIsReplacedAndCounted) {
    rscpCObj_t object = activated("4110", "1100");
    const Converted converted = convert(object, "a\xE2\x82\xAC-\xF0\x9F\x98\x80.");
    EXPECT_EQ(converted.code, 0);
    EXPECT_EQ(converted.output, "a#-#.");
    EXPECT_EQ(object.substituted, 2U);
    convert(object, "\xE2\x82\xAC");
    EXPECT_EQ(object.substituted, 3U);
}

TEST_F(ConverterTest, PoliciesForCharactersThatTheTargetLacks) {
    struct Row {
        std::int32_t drop;
        std::int32_t code;
        const char* output;
        std::uint32_t substituted;
        std::uint32_t removed;
    };
    constexpr Row kRows[] = {
        {kDropStop, RSCPENOCONV, "a", 0, 0}, {kDropLikeMiss, 0, "a#b", 1, 0}, {kDropRemove, 0, "ab", 0, 1},
        {kDropSpace, 0, "a b", 1, 0},        {77, RSCPENOCONV, "a", 0, 0},  // no such policy: the strictest
    };
    for (const Row& row : kRows) {
        rscpCObj_t object = activated("4110", "1100");
        object.dropPolicy = row.drop;
        const Converted converted = convert(object,
                                            "a\xE2\x82\xAC"
                                            "b");
        EXPECT_EQ(converted.code, row.code) << row.drop;
        EXPECT_EQ(converted.output, row.output) << row.drop;
        EXPECT_EQ(object.substituted, row.substituted) << row.drop;
        EXPECT_EQ(object.removed, row.removed) << row.drop;
        if (row.code != 0) {
            EXPECT_EQ(message(), "character not convertable");
            EXPECT_EQ(converted.consumed, 1U);
        }
    }
}

TEST_F(ConverterTest, ThePolicyForBrokenCharactersIsNotForMissingOnes) {
    rscpCObj_t object = activated("4110", "1100");
    object.brokenPolicy = kBrokenStopFinally;
    EXPECT_EQ(convert(object, "\xE2\x82\xAC").output, "#");
    const Converted undefined = convert("1101", "4110", "\x80");
    object = activated("1101", "4110");
    object.brokenPolicy = kBrokenStopFinally;
    EXPECT_EQ(convert(object, "\x80").output, undefined.output);
}

TEST_F(ConverterTest, PoliciesForBrokenCharacters) {
    for (const std::int32_t policy : {kBrokenStopFinally, kBrokenStopRestartable}) {
        rscpCObj_t object = activated("4110", "1100");
        object.brokenPolicy = policy;
        const Converted converted = convert(object, "a\x80z");
        EXPECT_EQ(converted.code, RSCPENOCONV);
        EXPECT_EQ(message(), "illegal start byte");
        EXPECT_EQ(converted.output, "a");
        EXPECT_EQ(converted.consumed, 1U);
    }
    EXPECT_EQ(convert("4110", "1100", "a\x80z").output, "a#z");
}

TEST_F(ConverterTest, BrokenUtf8InATableConversionIsReplacedAsTheUtfConvertersDo) {
    EXPECT_EQ(convert("4110", "1100", "\xC3\x41").output, "#A");           // follow-up byte is read again
    EXPECT_EQ(convert("4110", "1100", "\xC0\x80").output, "#");            // overlong: the whole sequence
    EXPECT_EQ(convert("4110", "1100", "\xFE\xFF").output, "##");           // illegal start bytes
    EXPECT_EQ(convert("4110", "1100", "\xED\xA0\x80.").output, "#.");      // surrogate
    EXPECT_EQ(convert("4110", "4120", "\xF4\x90\x80\x80.").output, "#.");  // beyond Unicode
    rscpCObj_t object = activated("4110", "1100");
    object.brokenPolicy = kBrokenStopFinally;
    EXPECT_EQ(convert(object, "\xC3\x41").code, RSCPENOCONV);
    EXPECT_EQ(message(), "illegal follow-up byte");
    EXPECT_EQ(convert(object, "\xC0\x80").code, RSCPENOCONV);
    EXPECT_EQ(message(), "overlong UTF-8 sequence");
}

TEST_F(ConverterTest, SourceThatEndsInsideACharacterIsReported) {
    const Converted utf8 = convert("4110", "1100", "a\xE2\x82");
    EXPECT_EQ(utf8.code, RSCPEUNIQ);
    EXPECT_EQ(message(), "source exhausted within a char");
    EXPECT_EQ(utf8.output, "a");
    EXPECT_EQ(utf8.consumed, 1U);
    for (const char* target : {"1100", "4101", "4102", "4110"}) {
        const Converted odd = convert("4103", target, "a\0b"s);
        EXPECT_EQ(odd.code, RSCPEUNIQ) << target;
        EXPECT_EQ(message(), "source exhausted within a char") << target;
        EXPECT_EQ(odd.consumed, 2U) << target;
    }
    const Converted half = convert("4103", "1100", "a\0\x3D\xD8"s);
    EXPECT_EQ(half.code, RSCPEUNIQ);
    EXPECT_EQ(message(), "Half surrogate at end");
    EXPECT_EQ(half.consumed, 2U);
}

TEST_F(ConverterTest, SurrogatesInTableConversions) {
    EXPECT_EQ(convert("4103", "1100", "\x3D\xD8\x00\xDE!\0"s).output, "#!");  // one character
    EXPECT_EQ(convert("4103", "1100", "\x3D\xD8!\0"s).output, "#!");          // half, in the middle
    EXPECT_EQ(convert("4103", "1100", "\x00\xDE!\0"s).output, "#!");          // lone low half
    EXPECT_EQ(convert("4103", "4101", "\x3D\xD8\x00\xDE"s).output, "#\0"s);   // UCS-2 has no pairs
    EXPECT_EQ(convert("4103", "4104", "\x3D\xD8\x00\xDE"s).output, "\x00\x01\xF6\x00"s);
    EXPECT_EQ(convert("4104", "4102", "\x00\x01\xF6\x00"s).output, "\xD8\x3D\xDE\x00"s);
    EXPECT_EQ(convert("4101", "4103", "\x3D\xD8"s).output, "#\0"s);
    rscpCObj_t object = activated("4103", "1100");
    object.brokenPolicy = kBrokenStopFinally;
    EXPECT_EQ(convert(object, "\x3D\xD8!\0"s).code, RSCPENOCONV);
    EXPECT_EQ(message(), "Half surrogate in middle");
    EXPECT_EQ(convert(object, "\x00\xDE!\0"s).code, RSCPENOCONV);
    EXPECT_EQ(message(), "Half low surrogate in middle");
}

TEST_F(ConverterTest, Ucs4SourceIsRoundedDownToWholeUnits) {
    for (const char* target : {"1100", "4110", "4103", "4104"}) {
        const Converted converted = convert("4105", target, "a\0\0\0bcd"s);
        EXPECT_EQ(converted.code, 0) << target;
        EXPECT_EQ(converted.consumed, 4U) << target;
    }
}

TEST_F(ConverterTest, Ucs4ValueOf32BitsIsBroken) {
    rscpCObj_t object = activated("4104", "1100");
    EXPECT_EQ(convert(object, "\x80\0\0\0"s).output, "#");
    object.brokenPolicy = kBrokenStopFinally;
    EXPECT_EQ(convert(object, "\x80\0\0\0"s).code, RSCPENOCONV);
    EXPECT_EQ(message(), "UCS-4 has only 31 bits.");
}

TEST_F(ConverterTest, ByteSwaps) {
    EXPECT_EQ(convert("4100", "4101", "\x01\x02\xD8\x00"s).output, "\x02\x01\x00\xD8"s);
    EXPECT_EQ(convert("4103", "4102", "\x01\x02"s).output, "\x02\x01"s);
    EXPECT_EQ(convert("4104", "4105", "\x01\x02\x03\x04"s).output, "\x04\x03\x02\x01"s);
    const Converted tooShort = convert("4104", "4105", "\x01\x02\x03\x04\x05\x06\x07\x08"s, 7);
    EXPECT_EQ(tooShort.code, RSCPETOOLONG);
    EXPECT_EQ(tooShort.consumed, 4U);
    EXPECT_EQ(tooShort.output.size(), 4U);
    EXPECT_EQ(convert("4100", "4101", "abcd", 3).code, RSCPETOOLONG);
    EXPECT_EQ(message(), "char code longer than output buffer");
}

TEST_F(ConverterTest, ControlCodesAreRefusedBetweenUnicodeFormsAndConvertedByTables) {
    const std::string control = "a\tb";
    EXPECT_EQ(convert("4110", "4103", control).output, "a\0#\0b\0"s);
    EXPECT_EQ(convert("4103", "4110", "\t\0"s).code, RSCPENOCONV);
    EXPECT_EQ(message(), "control code not allowed");
    for (const char* target : {"1100", "1101", "1160", "4110", "4120"}) {
        EXPECT_EQ(convert("1100", target, control).output, control) << target;
    }
    EXPECT_EQ(convert("1100", "4110", "\x85"s).output, "\xC2\x85");
    EXPECT_EQ(convert("1100", "4103", "\t").output, "\t\0"s);
}

TEST_F(ConverterTest, ControlCodesAreAllowedOnRequest) {
    rscpCObj_t object = makeObject("4110", "4103");
    object.controlCodeConversion = 1;
    ASSERT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_EQ(convert(object, "a\tb").output, "a\0\t\0b\0"s);
    object = makeObject("4103", "4110");
    object.controlCodeConversion = 1;
    ASSERT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_EQ(convert(object, "\t\0"s).output, "\t");
}

TEST_F(ConverterTest, UtfMethodsTakeTheSubstitutionFromThePolicies) {
    rscpCObj_t object = activated("4110", "4102");
    EXPECT_EQ(convert(object, "\x80").output, "\0#"s);
    EXPECT_EQ(object.substituted, 1U);
    object.dropPolicy = kDropSpace;
    EXPECT_EQ(convert(object, "\x80").output, "\0 "s);
    object.dropPolicy = kDropStop;
    EXPECT_EQ(convert(object, "\x80").code, RSCPENOCONV);
    EXPECT_EQ(message(), "illegal start byte");
    object.dropPolicy = kDropLikeMiss;
    object.brokenPolicy = kBrokenStopFinally;
    EXPECT_EQ(convert(object, "\x80").code, RSCPENOCONV);
    object = activated("4110", "4104");
    object.substitution = 0x3F;
    EXPECT_EQ(convert(object, "\x80").output, "\0\0\0?"s);
    object = activated("4110", "4101");
    EXPECT_EQ(convert(object, "\xF0\x9F\x98\x80").output, "#\0"s);
}

TEST_F(ConverterTest, UtfMethodErrorsAreRecordedByTheConverter) {
    rscpCObj_t object = activated("4110", "4103");
    const Converted converted = convert(object, "a\xC3");
    EXPECT_EQ(converted.code, RSCPEUNIQ);
    EXPECT_EQ(message(), "source exhausted within a char");
    EXPECT_EQ(convert(object, "abc", 2).code, RSCPETOOLONG);
    EXPECT_EQ(message(), "dest buffer overflow");
    EXPECT_STREQ(rscpeCurrent()->module, "rscpu86r");
}

TEST_F(ConverterTest, SubstitutionCharacterThatTheTargetLacksBecomesANumberSign) {
    rscpCObj_t object = activated("4110", "1101");
    object.substitution = 0x20AC;
    EXPECT_EQ(convert(object, "\xC3\xBC").output, "#");
    object.substitution = '?';
    EXPECT_EQ(convert(object, "\xC3\xBC").output, "?");
}

TEST_F(ConverterTest, SubstitutionThatDoesNotFitStopsBeforeTheCharacter) {
    const Converted converted = convert("4110", "1100", "a\xE2\x82\xAC", 1);
    EXPECT_EQ(converted.code, RSCPETOOLONG);
    EXPECT_EQ(converted.output, "a");
    EXPECT_EQ(converted.consumed, 1U);
}

TEST_F(ConverterTest, UndefinedBytesOfASingleByteCodePageAreMissing) {
    EXPECT_EQ(convert("1101", "4110", "a\xFC").output, "a#");
    EXPECT_EQ(convert("1160", "4110", "a\x81").output, "a#");
}

TEST_F(ConverterTest, FillPolicies) {
    rscpCObj_t object = makeObject("1100", "1160");
    object.fillPolicy = kFillSpaces;
    ASSERT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_EQ(convert(object, "ab", 5).output, "ab   ");
    EXPECT_EQ(convert(object, "ab  ", 3).code, RSCPETOOLONG);
    object.fillPolicy = kFillNulls;
    EXPECT_EQ(convert(object, "ab", 5).output, "ab\0\0\0"s);
    object.fillPolicy = kFillAndTruncateSpaces;
    EXPECT_EQ(convert(object, "ab", 5).output, "ab   ");
    const Converted truncated = convert(object, "ab  ", 3);
    EXPECT_EQ(truncated.code, 0);
    EXPECT_EQ(truncated.output, "ab ");
    EXPECT_EQ(truncated.consumed, 4U);
    EXPECT_EQ(rscpeCurrent()->code, 0);
    EXPECT_EQ(convert(object, "abcd", 3).code, RSCPETOOLONG);
    object = makeObject("4110", "4103");
    object.fillPolicy = kFillSpaces;
    ASSERT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_EQ(convert(object, "a", 5).output, "a\0 \0"s);
    object = makeObject("1100", "1100");
    object.fillPolicy = kFillSpaces;
    ASSERT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_EQ(convert(object, "a", 3).output, "a  ");
}

TEST_F(ConverterTest, ReactivationWithResetServesANewPair) {
    rscpCObj_t object = activated("4110", "1100");
    convert(object, "\xE2\x82\xAC");
    ASSERT_EQ(object.substituted, 1U);
    object.dropPolicy = kDropRemove;
    convert(object, "\xE2\x82\xAC");
    ASSERT_EQ(object.removed, 1U);
    std::memcpy(object.targetCodePage, "4103", 4);
    ASSERT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_EQ(object.substituted, 0U);
    EXPECT_EQ(object.removed, 0U);
    EXPECT_EQ(convert(object, "a").output, "a\0"s);
    EXPECT_EQ(std::string(object.loadedTarget, 4), "4103");
}

TEST_F(ConverterTest, ReactivationWithoutResetKeepsTheCounters) {
    rscpCObj_t object = activated("4110", "1100");
    convert(object, "\xE2\x82\xAC");
    ASSERT_EQ(rscpCActivate(&object, false, true), 0);
    EXPECT_EQ(object.substituted, 1U);
    EXPECT_EQ(convert(object, "a").output, "a");
}

TEST_F(ConverterTest, FailedReactivationLeavesNothingUsable) {
    rscpCObj_t object = activated("4110", "1100");
    std::memcpy(object.targetCodePage, "9999", 4);
    EXPECT_EQ(rscpCActivate(&object, false, true), RSCPENOOBJ);
    EXPECT_EQ(object.method, static_cast<std::int32_t>(Method::deactivated));
    EXPECT_EQ(convert(object, "a").code, RSCPENOCONV);
    EXPECT_EQ(message(), "missing char code param");
}

TEST_F(ConverterTest, TemplateIsUnsetAndCarriesTheNumberSign) {
    EXPECT_EQ(std::string(rscpCObjTemplate.sourceCodePage, 4), "0000");
    EXPECT_EQ(std::string(rscpCObjTemplate.targetCodePage, 4), "0000");
    EXPECT_EQ(rscpCObjTemplate.substitution, '#');
    EXPECT_EQ(rscpCObjTemplate.method, 0);
    EXPECT_THAT(rscpCObjTemplate.head, testing::Each(0));
}

TEST_F(ConverterTest, WrappersConvertToAndFromUtf8) {
    std::array<std::uint8_t, 32> buffer{};
    std::uint8_t* destination = buffer.data();
    const auto* source = reinterpret_cast<const std::uint8_t*>(kGruss.data());
    for (const char* codePage : {static_cast<const char*>(nullptr), "1100"}) {  // the default code page is 1100
        destination = buffer.data();
        source = reinterpret_cast<const std::uint8_t*>(kGruss.data());
        EXPECT_EQ(rscpCToUtf8(codePage, destination, buffer.data() + buffer.size(), source, source + kGruss.size()), 0);
        EXPECT_EQ(std::string(buffer.data(), destination), kGrussUtf8);
        destination = buffer.data();
        source = reinterpret_cast<const std::uint8_t*>(kGrussUtf8.data());
        EXPECT_EQ(
            rscpCFromUtf8(codePage, destination, buffer.data() + buffer.size(), source, source + kGrussUtf8.size()), 0);
        EXPECT_EQ(std::string(buffer.data(), destination), kGruss);
    }
    destination = buffer.data();
    source = reinterpret_cast<const std::uint8_t*>(kGruss.data());
    EXPECT_EQ(rscpCToUtf8("9999", destination, buffer.data() + buffer.size(), source, source + 4), RSCPENOOBJ);
    EXPECT_EQ(rscpCToUtf8("1100", destination, buffer.data() + 3, source, source + 4), RSCPETOOLONG);
}

TEST_F(ConverterTest, ActivationTracesTheShortcutsItTakes) {
    for (const auto& [pair, line] : std::map<std::pair<std::string, std::string>, std::string>{
             {{"1100", "1100"}, "rscpc: 1100->1100: KAVCCM_direct\n"},
             {{"4100", "4101"}, "rscpc: 4100->4101: KAVCCM_U2_swap\n"},
             {{"1100", "4102"}, "rscpc: 1100->4102: KAVCCM_BRUTE_A_U2B\n"},
             {{"1100", "4103"}, "rscpc: 1100->4103: KAVCCM_BRUTE_A_U2L\n"},
             {{"4100", "1160"}, "rscpc: 4100->1160: KAVCCM_BRUTE_U2B_A\n"},
             {{"4101", "1160"}, "rscpc: 4101->1160: KAVCCM_BRUTE_U2L_A\n"}}) {
        trace().clear();
        activated(pair.first.c_str(), pair.second.c_str());
        EXPECT_THAT(trace(), Contains(line));
    }
    trace().clear();
    activated("1100", "4110");
    EXPECT_THAT(trace(), Not(Contains(HasSubstr("KAVCCM_"))));
    EXPECT_THAT(trace(), Contains(StartsWith("rscpc: 1100->4110: tab_i1b ")));
}

TEST_F(ConverterTest, WithoutShortcutsTheTablesDoTheSame) {
    setProfile("rscp/shortcut_many_converters", "off");
    const std::map<std::string, std::string> forms = {
        {"1100", kGruss},        {"4100", kGrussUtf16be}, {"4101", kGrussUtf16le}, {"4102", kGrussUtf16be},
        {"4103", kGrussUtf16le}, {"4104", kGrussUtf32be}, {"4110", kGrussUtf8},
    };
    for (const auto& [source, input] : forms) {
        for (const auto& [target, output] : forms) {
            trace().clear();
            EXPECT_EQ(convert(source.c_str(), target.c_str(), input).output, output) << source << "->" << target;
            EXPECT_THAT(trace(), Not(Contains(HasSubstr("KAVCCM_"))));
        }
    }
}

TEST_F(ConverterTest, ActivationTracesPoliciesAndOptionWord) {
    activated("1100", "4110");
    EXPECT_THAT(trace(), Contains("rscpc: 1100->4110: tab_i1b rscpbroken m=like_miss rscpfill .=never useF1 n=not drop "
                                  "m=like_miss rscpCtrlCodeCv i=illegal rscpKAVOwnChCv t=try s(101011)"));
    rscpCObj_t object = makeObject("1100", "4110");
    object.brokenPolicy = object.fillPolicy = object.useF1 = object.dropPolicy = 9;
    object.controlCodeConversion = object.ownCharacterConversion = 9;
    ASSERT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_THAT(trace(),
                Contains("rscpc: 1100->4110: tab_i1b rscpbroken ?illigal_rscpbroken rscpfill ?illigal_rscpfill useF1 "
                         "?illegal_useF1 drop ?illegal_drop rscpCtrlCodeCv ?illegal_rscpCtrlCodeCv rscpKAVOwnChCv "
                         "?illegal_rscpKAVOwnChCv s(999999)"));
}

TEST_F(ConverterTest, ChangedSurroundingsMakeTheObjectPrepareAgain) {
    rscpCObj_t object = activated("1100", "4110");
    surroundings().language = 'D';
    EXPECT_EQ(convert(object, kGruss).output, kGrussUtf8);
    EXPECT_EQ(object.language, 'D');
}

}  // namespace
}  // namespace quorvanti::test

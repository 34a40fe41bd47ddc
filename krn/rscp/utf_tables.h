// What the UTF converters know about UTF-8 and what they refuse, as data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "krn/rscp/utf_converters.h"

namespace quorvanti {

// Entries of the lead-byte table: the number of follow-up bytes, or one of these classes.
inline constexpr std::uint8_t kMostFollowUps = 5;
inline constexpr std::uint8_t kIllegalStart = 6;
inline constexpr std::uint8_t kControlCode = 7;

using LeadByteTable = std::array<std::uint8_t, 256>;

struct LeadByteRange {
    std::size_t first;
    std::size_t last;
    std::uint8_t entry;
};

// clang-format off
inline constexpr LeadByteRange kLeadByteRanges[] = {
    {0x00, 0x7F, 0},
    {0x80, 0xBF, kIllegalStart},
    {0xC0, 0xDF, 1},
    {0xE0, 0xEF, 2},
    {0xF0, 0xF7, 3},
    {0xF8, 0xFB, 4},
    {0xFC, 0xFD, 5},
    {0xFE, 0xFF, kIllegalStart},
};
inline constexpr LeadByteRange kControlByteRanges[] = {
    {0x00, 0x1F, kControlCode},
    {0x7F, 0x7F, kControlCode},
};
// clang-format on

constexpr LeadByteTable leadByteTable(ControlCodes controls) {
    LeadByteTable table{};
    const auto enter = [&table](const LeadByteRange& range) {
        for (std::size_t byte = range.first; byte <= range.last; ++byte) {
            table[byte] = range.entry;
        }
    };
    for (const LeadByteRange& range : kLeadByteRanges) {
        enter(range);
    }
    if (controls == ControlCodes::refused) {
        for (const LeadByteRange& range : kControlByteRanges) {
            enter(range);
        }
    }
    return table;
}

template <ControlCodes controls>
inline constexpr LeadByteTable kLeadBytes = leadByteTable(controls);

// By follow-up count: what the marks in the bytes of a sequence add up to, and the smallest value that needs it.
inline constexpr std::array<std::uint32_t, 6> kOffsets = {0x00000000, 0x00003080, 0x000E2080,
                                                          0x03C82080, 0xFA082080, 0x82082080};
inline constexpr std::array<std::uint32_t, 6> kSmallest = {0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000};

// By number of significant bits: the length of the sequence.
inline constexpr std::uint8_t kTooLong = 7;
inline constexpr std::array<std::uint8_t, 33> kLengths = {1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3,       3,
                                                          4, 4, 4, 4, 4, 5, 5, 5, 5, 5, 6, 6, 6, 6, 6, kTooLong};

// By length of the sequence: the mark in its lead byte.
inline constexpr std::array<std::uint32_t, 7> kMarks = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

inline constexpr std::uint32_t kLargestUcs4 = 0x7FFFFFFF;

// Where the source position stands when the member stops, and where it goes on after a substitution.
enum class StopAt { firstByte, lastByte };
enum class ResumeAfter { nothing, firstByte, sequence };

// One thing a member reports.
struct Refusal {
    std::int32_t site;
    std::int32_t errorClass;
    const char* message;
    ResumeAfter resume = ResumeAfter::nothing;
    StopAt stop = StopAt::firstByte;
};

// clang-format off
inline constexpr Refusal kDestinationOverflow{ 1, kUtfDestinationFull, "dest buffer overflow"};
inline constexpr Refusal kExhausted          { 2, kUtfSourceExhausted, "source exhausted within a char"};
inline constexpr Refusal kIllegalStartByte   { 3, kUtfNotConvertible,  "illegal start byte",             ResumeAfter::firstByte};
inline constexpr Refusal kIllegalFollowUp    { 4, kUtfNotConvertible,  "illegal follow-up byte",         ResumeAfter::firstByte};
inline constexpr Refusal kOverlong           { 5, kUtfNotConvertible,  "overlong UTF-8 sequence",        ResumeAfter::sequence};
inline constexpr Refusal kControlNotHere     { 6, kUtfNotConvertible,  "control codes not allowed here", ResumeAfter::sequence};
// Deliberately stops at the last byte of the sequence, unlike all others; callers' error positions depend on it.
inline constexpr Refusal kBeyondUcs4         { 7, kUtfNotConvertible,  "UTF-8 bejond UCS-4",             ResumeAfter::sequence, StopAt::lastByte};
inline constexpr Refusal kBeyondUtf16        { 8, kUtfNotConvertible,  "UTF-8 bejond UTF-32",            ResumeAfter::sequence, StopAt::lastByte};
inline constexpr Refusal kBeyondUcs2         { 9, kUtfNotConvertible,  "UTF-8 bejond UCS-2",             ResumeAfter::sequence, StopAt::lastByte};
inline constexpr Refusal kControlNotAllowed  {10, kUtfNotConvertible,  "control code not allowed"};
inline constexpr Refusal kHalfAtEnd          {11, kUtfSourceExhausted, "Half surrogate at end"};
inline constexpr Refusal kHalfInMiddle       {12, kUtfNotConvertible,  "Half surrogate in middle"};
inline constexpr Refusal kLowInMiddle        {13, kUtfNotConvertible,  "Half low surrogate in middle"};
inline constexpr Refusal kOnly31Bits         {14, kUtfNotConvertible,  "UCS-4 has only 31 bits."};
// clang-format on

// The wide forms: unit, modules (native, swapped), largest value and what a decoder says beyond it.
template <WideForm form>
struct Wide;

template <>
struct Wide<WideForm::ucs2> {
    using Unit = std::uint16_t;
    static constexpr const char* kModules[] = {"rscpu82r", "rscpu82w"};
    static constexpr std::uint32_t kLargest = 0xFFFF;
    static constexpr const Refusal& kBeyond = kBeyondUcs2;
};

template <>
struct Wide<WideForm::utf16> {
    using Unit = std::uint16_t;
    static constexpr const char* kModules[] = {"rscpu86r", "rscpu86w"};
    static constexpr std::uint32_t kLargest = 0x10FFFF;
    static constexpr const Refusal& kBeyond = kBeyondUtf16;
};

template <>
struct Wide<WideForm::ucs4> {
    using Unit = std::uint32_t;
    static constexpr const char* kModules[] = {"rscpu84r", "rscpu84w"};
    static constexpr std::uint32_t kLargest = kLargestUcs4;
    static constexpr const Refusal& kBeyond = kBeyondUcs4;
};

// What an encoder does with a value beyond 31 bits. The refusing swapped UCS-4 encoder deliberately writes U+FFFD in
// the form of two bytes, 0xFF 0xBD, where all others refuse: readers of its output know that pair.
template <WideForm form, ByteOrder order, ControlCodes controls>
inline constexpr bool kReplacesBeyond31Bits = false;
template <>
inline constexpr bool kReplacesBeyond31Bits<WideForm::ucs4, ByteOrder::swapped, ControlCodes::refused> = true;
inline constexpr std::uint32_t kReplacement = 0xFFFD;
inline constexpr std::size_t kReplacementLength = 2;

}  // namespace quorvanti

// Decodes the characters among sixteen bytes of UTF-8 at once, without a branch that depends on their lengths: for each
// byte the value of a character that would end there, from which the ends are then taken.
#pragma once

#include <algorithm>
#include <bit>

#include "krn/rscp/utf_steps.h"
#include "krn/rscp/utf_tables.h"
#include "krn/rscp/utf_vectors.h"

namespace quorvanti {

template <WideForm form, ByteOrder order, ControlCodes controls>
class BlockDecoder {
    static constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);

public:
    // `begin` is where the whole source begins: a rest of less than sixteen bytes is loaded together with what is
    // before it. Writes nothing but what it produces.
    static BlockStep decode(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, const std::uint8_t* end) {
        const std::ptrdiff_t count = sourceEnd - from;
        if (count >= 16) {
            return decode(loadBytes(from), 16, to, end);
        }
        return decode(_mm_and_si128(loadLast(begin, sourceEnd, count), lastBytesMask(count)), count, to, end);
    }

private:
    // The last `count` bytes of `v`; those before them are zero.
    static BlockStep decode(__m128i v, std::ptrdiff_t count, std::uint8_t* to, const std::uint8_t* end) {
        const __m128i continues = _mm_cmplt_epi8(v, byte(0xC0));
        const Marks marks = marksOf(v, continues);
        if ((marks.expected & 0xFFFF) != marks.continuing || refused(v, count)) {
            return {};
        }
        // A character that is cut off waits for the next block: 1 when there is one, found and used without a branch.
        const std::ptrdiff_t cut = ((marks.expected >> 16) + 7) >> 3;
        const std::ptrdiff_t left = (17 - std::bit_width(marks.leads | 1)) & -cut;

        // A step to the next unit wherever a character starts, but for the first.
        __m128i starts = _mm_andnot_si128(continues, lastBytesMask(count - 1));
        alignas(16) std::uint8_t pairs[16 * kUnit];
        values(v, continues, starts, pairs);
        const __m128i steps = _mm_and_si128(starts, byte(kUnit));
        const std::ptrdiff_t room = sumOfBytes(steps) + kUnit;
        if (end - to < room + kUnit) {
            return {};
        }
        emit(pairs, steps, to, room, cut);
        return {count - left, room - cut * kUnit};
    }

    static __m128i byte(int value) { return _mm_set1_epi8(static_cast<char>(value)); }
    static __m128i atLeast(__m128i v, int value) { return _mm_cmpeq_epi8(_mm_max_epu8(v, byte(value)), v); }
    static unsigned bits(__m128i mask) { return static_cast<unsigned>(_mm_movemask_epi8(mask)); }

    // One bit a byte: follow-up bytes, those that the leads ask for (beyond the sixteen, too), leads.
    struct Marks {
        unsigned continuing;
        unsigned expected;
        unsigned leads;
    };
    static Marks marksOf(__m128i v, __m128i continues) {
        const unsigned continuing = bits(continues);
        const unsigned leads = bits(v) & ~continuing;
        const unsigned three = bits(atLeast(v, 0xE0));
        const unsigned four = bits(atLeast(v, 0xF0));
        return {continuing, leads << 1 | three << 2 | four << 3, leads};
    }

    // Overlong, too large, longer than four bytes, control codes: for the loop that knows what to say of them.
    static bool refused(__m128i v, std::ptrdiff_t count) {
        const __m128i before = _mm_slli_si128(v, 1);
        __m128i bad = _mm_cmpeq_epi8(_mm_and_si128(v, byte(0xFE)), byte(0xC0));
        bad = _mm_or_si128(bad, pair(before, 0xE0, _mm_cmplt_epi8(v, byte(0xA0))));
        if constexpr (form == WideForm::ucs2) {
            bad = _mm_or_si128(bad, atLeast(v, 0xF0));
        } else {
            bad = _mm_or_si128(bad, pair(before, 0xF0, _mm_cmplt_epi8(v, byte(0x90))));
            if constexpr (form == WideForm::utf16) {
                bad = _mm_or_si128(bad, pair(before, 0xF4, atLeast(v, 0x90)));
            }
            bad = _mm_or_si128(bad, atLeast(v, form == WideForm::utf16 ? 0xF5 : 0xF8));
        }
        if constexpr (controls == ControlCodes::refused) {
            const __m128i ascii = _mm_and_si128(_mm_cmplt_epi8(v, byte(0x20)), _mm_cmpgt_epi8(v, byte(-1)));
            bad = _mm_or_si128(bad, _mm_or_si128(ascii, _mm_cmpeq_epi8(v, byte(0x7F))));
            bad = _mm_or_si128(bad, pair(before, 0xC2, _mm_cmplt_epi8(v, byte(0xA0))));
            bad = _mm_and_si128(bad, lastBytesMask(count));
        }
        return bits(bad) != 0;
    }
    static __m128i pair(__m128i before, int lead, __m128i second) {
        return _mm_and_si128(_mm_cmpeq_epi8(before, byte(lead)), second);
    }

    // Of each two bytes the values of both, or the second's alone where it continues the first's character.
    static void values(__m128i v, __m128i continues, __m128i& starts, std::uint8_t* pairs) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i one = _mm_slli_si128(v, 1);
        const __m128i two = _mm_slli_si128(v, 2);
        const __m128i twoContinue = _mm_and_si128(continues, _mm_slli_si128(continues, 1));
        // Bits 0 to 6 and 12 to 15, then those between.
        const __m128i ends = _mm_and_si128(v, byte(0x7F));
        const __m128i tops = _mm_and_si128(_mm_and_si128(_mm_slli_epi16(two, 4), byte(0xF0)), twoContinue);
        const __m128i middles = _mm_and_si128(_mm_and_si128(one, byte(0x3F)), continues);
        __m128i low = _mm_or_si128(_mm_unpacklo_epi8(ends, tops), _mm_slli_epi16(_mm_unpacklo_epi8(middles, zero), 6));
        __m128i high = _mm_or_si128(_mm_unpackhi_epi8(ends, tops), _mm_slli_epi16(_mm_unpackhi_epi8(middles, zero), 6));
        if constexpr (form == WideForm::utf16) {
            insertSurrogates(v, one, two, starts, low, high);
        }
        const __m128i bothLow = _mm_srai_epi32(_mm_unpacklo_epi8(starts, starts), 16);
        const __m128i bothHigh = _mm_srai_epi32(_mm_unpackhi_epi8(starts, starts), 16);
        low = ordered(paired(bothLow, low));
        high = ordered(paired(bothHigh, high));
        if constexpr (form == WideForm::ucs4) {
            const __m128i plane = planes(v, two);
            store4(low, ordered(paired(bothLow, _mm_unpacklo_epi8(plane, zero))), pairs);
            store4(high, ordered(paired(bothHigh, _mm_unpackhi_epi8(plane, zero))), pairs + 32);
        } else {
            storeBytes(pairs, low);
            storeBytes(pairs + 16, high);
        }
    }
    static __m128i paired(__m128i both, __m128i words) { return blend(both, words, _mm_srli_epi32(words, 16)); }

    // Bits 16 to 20 where a character of four bytes ends.
    static __m128i planes(__m128i v, __m128i two) {
        const __m128i upper = _mm_and_si128(_mm_slli_epi16(_mm_slli_si128(v, 3), 2), byte(0x1C));
        const __m128i lower = _mm_and_si128(_mm_srli_epi16(two, 4), byte(0x03));
        return _mm_and_si128(_mm_or_si128(upper, lower), _mm_slli_si128(atLeast(v, 0xF0), 3));
    }

    // The high surrogate at the third byte, the low one at the fourth, which takes a step of its own.
    static void insertSurrogates(__m128i v, __m128i one, __m128i two, __m128i& starts, __m128i& low, __m128i& high) {
        const __m128i leads = atLeast(v, 0xF0);
        const __m128i third = _mm_slli_si128(leads, 2);
        const __m128i fourth = _mm_slli_si128(leads, 3);
        starts = _mm_or_si128(starts, fourth);
        const __m128i highLow = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(one, byte(0x3F)), 2),
                                             _mm_and_si128(_mm_srli_epi16(v, 4), byte(0x03)));
        const __m128i highHigh = _mm_and_si128(two, byte(0x07));
        const __m128i lowLow =
            _mm_or_si128(_mm_slli_epi16(_mm_and_si128(one, byte(0x03)), 6), _mm_and_si128(v, byte(0x3F)));
        const __m128i lowHigh = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(one, 2), byte(0x03)), byte(0xDC));
        const __m128i base = _mm_set1_epi16(static_cast<short>(0xD7C0));
        low = blend(_mm_unpacklo_epi8(third, third), _mm_add_epi16(_mm_unpacklo_epi8(highLow, highHigh), base), low);
        high = blend(_mm_unpackhi_epi8(third, third), _mm_add_epi16(_mm_unpackhi_epi8(highLow, highHigh), base), high);
        low = blend(_mm_unpacklo_epi8(fourth, fourth), _mm_unpacklo_epi8(lowLow, lowHigh), low);
        high = blend(_mm_unpackhi_epi8(fourth, fourth), _mm_unpackhi_epi8(lowLow, lowHigh), high);
    }

    static __m128i ordered(__m128i words) { return order == ByteOrder::native ? words : swapBytes16(words); }

    static void store4(__m128i low, __m128i high, std::uint8_t* units) {
        const __m128i first = order == ByteOrder::native ? low : high;
        const __m128i second = order == ByteOrder::native ? high : low;
        storeBytes(units, _mm_unpacklo_epi16(first, second));
        storeBytes(units + 16, _mm_unpackhi_epi16(first, second));
    }

    // Two bytes' values go to the place of their character or characters at once; what does not belong there is
    // overwritten by the next pair. What is left behind the last character, or in the place of a cut one, is taken
    // back.
    static void emit(const std::uint8_t* pairs, __m128i steps, std::uint8_t* to, std::ptrdiff_t room,
                     std::ptrdiff_t cut) {
        using Unit = typename Wide<form>::Unit;
        const __m128i even = _mm_set1_epi16(0xFF);
        const __m128i advances =
            _mm_add_epi16(_mm_and_si128(steps, even), _mm_and_si128(_mm_slli_si128(steps, 1), even));
        alignas(16) std::uint16_t advance[8];
        _mm_store_si128(reinterpret_cast<__m128i*>(advance), advances);
        std::uint8_t* const place = to + room - kUnit;
        Unit before[2];
        std::memcpy(before, place, sizeof before);
        for (std::ptrdiff_t i = 0; i < 8; ++i) {
            to += advance[i];
            std::memcpy(to, pairs + 2 * i * kUnit, 2 * kUnit);
        }
        Unit last;
        std::memcpy(&last, place, kUnit);
        const auto cutBits = static_cast<Unit>(-cut);
        before[0] = static_cast<Unit>((before[0] & cutBits) | (last & static_cast<Unit>(~cutBits)));
        std::memcpy(place, before, sizeof before);
    }
};

}  // namespace quorvanti

// Encodes eight units at once, without a branch that depends on the lengths: for each unit its bytes and their number.
#pragma once

#include <algorithm>

#include "krn/rscp/utf_block_decoder.h"

namespace quorvanti {

template <WideForm form, ByteOrder order, ControlCodes controls>
class BlockEncoder {
    static constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);
    static constexpr std::ptrdiff_t kUnits = 8;

public:
    // `begin` is where the whole source begins: a rest of less than eight units is loaded together with what is before
    // it. Writes nothing but what it produces.
    static BlockStep encode(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, const std::uint8_t* end) {
        const std::ptrdiff_t count = std::min((sourceEnd - from) / kUnit, kUnits);
        const std::uint8_t* const blockEnd = from + count * kUnit;
        const __m128i valid = lastBytesMask(2 * count);
        const Units units = load(begin, from, blockEnd, valid);
        if (units.beyond || refused(units, valid)) {
            return {};
        }
        Bytes bytes = plainBytes(units.low);
        std::ptrdiff_t consumed = count;
        if constexpr (form == WideForm::utf16) {
            const __m128i surrogates = _mm_and_si128(equal(_mm_and_si128(units.low, word(0xF800)), 0xD800), valid);
            if (_mm_movemask_epi8(surrogates) != 0 && !pairs(units.low, valid, bytes, consumed)) {
                return {};
            }
        }
        if constexpr (form == WideForm::ucs4) {
            fourBytes(units, bytes);
        }
        bytes.lengths = _mm_and_si128(bytes.lengths, valid);
        const std::ptrdiff_t length = sumOfBytes(bytes.lengths);
        if (end - to < length + 4) {
            return {};
        }
        emit(bytes, to, length);
        return {consumed * kUnit, length};
    }

private:
    // 16-bit lanes: the low and the high half of each unit.
    struct Units {
        __m128i low;
        __m128i high;  // of UCS-4 only
        bool beyond = false;
    };
    // The first two bytes of each character, the next two, and how many there are.
    struct Bytes {
        __m128i first;
        __m128i second;
        __m128i lengths;
    };

    static __m128i word(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
    static __m128i equal(__m128i words, int value) { return _mm_cmpeq_epi16(words, word(value)); }
    static __m128i atMost(__m128i words, int value) {
        return _mm_cmpeq_epi16(_mm_subs_epu16(words, word(value)), _mm_setzero_si128());
    }

    static Units load(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* blockEnd,
                      __m128i valid) {
        const std::ptrdiff_t bytes = blockEnd - from;
        if constexpr (form != WideForm::ucs4) {
            const __m128i words = loadLast(begin, blockEnd, bytes);
            return {order == ByteOrder::native ? words : swapBytes16(words), _mm_setzero_si128()};
        } else {
            const std::ptrdiff_t upper = std::min<std::ptrdiff_t>(bytes, 16);
            __m128i second = loadLast(begin, blockEnd, upper);
            __m128i first = loadLast(begin, blockEnd - upper, bytes - upper);
            if constexpr (order == ByteOrder::swapped) {
                first = swapBytes32(first);
                second = swapBytes32(second);
            }
            const __m128i high =
                _mm_and_si128(_mm_packs_epi32(_mm_srai_epi32(first, 16), _mm_srai_epi32(second, 16)), valid);
            // Values that need more than four bytes, or do not exist.
            return {_mm_packs_epi32(signExtended(first), signExtended(second)), high,
                    _mm_movemask_epi8(_mm_andnot_si128(atMost(high, 0x1F), valid)) != 0};
        }
    }
    static __m128i signExtended(__m128i units) { return _mm_srai_epi32(_mm_slli_epi32(units, 16), 16); }

    static bool refused(const Units& units, __m128i valid) {
        if constexpr (controls == ControlCodes::allowed) {
            return false;
        }
        const __m128i bad = _mm_or_si128(atMost(units.low, 0x1F), atMost(_mm_sub_epi16(units.low, word(0x7F)), 0x20));
        const __m128i small = _mm_cmpeq_epi16(units.high, _mm_setzero_si128());
        return _mm_movemask_epi8(_mm_and_si128(_mm_and_si128(bad, small), valid)) != 0;
    }

    static Bytes plainBytes(__m128i words) {
        const __m128i ascii = atMost(words, 0x7F);
        const __m128i small = atMost(words, 0x7FF);
        const __m128i last = _mm_and_si128(words, word(0x3F));
        const __m128i two = _mm_or_si128(_mm_or_si128(_mm_srli_epi16(words, 6), _mm_slli_epi16(last, 8)), word(0x80C0));
        const __m128i three =
            _mm_or_si128(_mm_or_si128(_mm_srli_epi16(words, 12), _mm_and_si128(_mm_slli_epi16(words, 2), word(0x3F00))),
                         word(0x80E0));
        return {blend(ascii, words, blend(small, two, three)), _mm_or_si128(last, word(0x80)),
                _mm_add_epi16(_mm_add_epi16(word(3), ascii), small)};
    }

    // Each of a pair writes two of its four bytes. A high surrogate at the end waits for the next block.
    static bool pairs(__m128i words, __m128i valid, Bytes& bytes, std::ptrdiff_t& consumed) {
        const __m128i half = _mm_and_si128(words, word(0xFC00));
        const __m128i highs = _mm_and_si128(equal(half, 0xD800), valid);
        const __m128i lows = _mm_and_si128(equal(half, 0xDC00), valid);
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_slli_si128(highs, 2), lows)) != 0xFFFF) {
            return false;
        }
        const __m128i upper = _mm_add_epi16(_mm_and_si128(words, word(0x3FF)), word(0x40));
        const __m128i ofHigh =
            _mm_or_si128(_mm_or_si128(_mm_srli_epi16(upper, 8), _mm_and_si128(_mm_slli_epi16(upper, 6), word(0x3F00))),
                         word(0x80F0));
        const __m128i before = _mm_slli_epi16(_mm_and_si128(_mm_slli_si128(words, 2), word(0x03)), 4);
        const __m128i ofLow =
            _mm_or_si128(_mm_or_si128(_mm_or_si128(before, _mm_and_si128(_mm_srli_epi16(words, 6), word(0x0F))),
                                      _mm_and_si128(_mm_slli_epi16(words, 8), word(0x3F00))),
                         word(0x8080));
        bytes.first = blend(highs, ofHigh, blend(lows, ofLow, bytes.first));
        bytes.lengths = blend(_mm_or_si128(highs, lows), word(2), bytes.lengths);
        const bool cut = (_mm_movemask_epi8(highs) & 0x8000) != 0;
        const __m128i last = _mm_slli_si128(_mm_set1_epi8(-1), 14);
        bytes.lengths = cut ? _mm_andnot_si128(last, bytes.lengths) : bytes.lengths;
        consumed -= cut ? 1 : 0;
        return true;
    }

    static void fourBytes(const Units& units, Bytes& bytes) {
        const __m128i none = _mm_cmpeq_epi16(units.high, _mm_setzero_si128());
        if (_mm_movemask_epi8(none) == 0xFFFF) {
            return;
        }
        const __m128i low = units.low;
        const __m128i first = _mm_or_si128(
            _mm_or_si128(_mm_srli_epi16(units.high, 2), _mm_slli_epi16(_mm_and_si128(units.high, word(3)), 12)),
            _mm_or_si128(_mm_and_si128(_mm_srli_epi16(low, 4), word(0x0F00)), word(0x80F0)));
        const __m128i second = _mm_or_si128(_mm_or_si128(_mm_and_si128(_mm_srli_epi16(low, 6), word(0x3F)),
                                                         _mm_and_si128(_mm_slli_epi16(low, 8), word(0x3F00))),
                                            word(0x8080));
        bytes.first = blend(none, bytes.first, first);
        bytes.second = blend(none, bytes.second, second);
        bytes.lengths = blend(none, bytes.lengths, word(4));
    }

    // Four bytes are stored for each; what the last store leaves behind its character is taken back.
    static void emit(const Bytes& bytes, std::uint8_t* to, std::ptrdiff_t length) {
        alignas(16) std::uint8_t characters[4 * kUnits];
        alignas(16) std::uint16_t lengths[kUnits];
        storeBytes(characters, _mm_unpacklo_epi16(bytes.first, bytes.second));
        storeBytes(characters + 16, _mm_unpackhi_epi16(bytes.first, bytes.second));
        _mm_store_si128(reinterpret_cast<__m128i*>(lengths), bytes.lengths);
        std::uint32_t saved;
        std::uint8_t* const behind = to + length;
        std::memcpy(&saved, behind, sizeof saved);
        for (std::ptrdiff_t i = 0; i < kUnits; ++i) {
            std::memcpy(to, characters + 4 * i, 4);
            to += lengths[i];
        }
        std::memcpy(behind, &saved, sizeof saved);
    }
};

}  // namespace quorvanti

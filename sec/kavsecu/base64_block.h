// Sixteen base64 characters at once, for the alphabet with "+" and "/" and for the one with "-" and "_".
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quorvanti {

inline constexpr std::size_t kBase64BlockText = 16;
inline constexpr std::size_t kBase64BlockBytes = 12;
// More is written than the block's bytes, by these.
inline constexpr std::size_t kBase64BlockMargin = 2;

// False, and nothing written, when one of the characters is none of the alphabet, whose last two are given.
template <char kOf62, char kOf63>
bool decodeBase64Block(const char* text, std::uint8_t* output) {
    const __m128i characters = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const auto between = [characters](char first, char last) {
        return _mm_and_si128(_mm_cmpgt_epi8(characters, _mm_set1_epi8(static_cast<char>(first - 1))),
                             _mm_cmplt_epi8(characters, _mm_set1_epi8(static_cast<char>(last + 1))));
    };
    const __m128i upper = between('A', 'Z');
    const __m128i lower = between('a', 'z');
    const __m128i digit = between('0', '9');
    const __m128i of62 = _mm_cmpeq_epi8(characters, _mm_set1_epi8(kOf62));
    const __m128i of63 = _mm_cmpeq_epi8(characters, _mm_set1_epi8(kOf63));
    const __m128i known = _mm_or_si128(_mm_or_si128(upper, lower), _mm_or_si128(digit, _mm_or_si128(of62, of63)));
    if (_mm_movemask_epi8(known) != 0xFFFF) {
        return false;
    }
    const auto distance = [](__m128i chosen, int value, char first) {
        return _mm_and_si128(chosen, _mm_set1_epi8(static_cast<char>(value - first)));
    };
    const __m128i letters = _mm_or_si128(distance(upper, 0, 'A'), distance(lower, 26, 'a'));
    const __m128i others =
        _mm_or_si128(distance(digit, 52, '0'), _mm_or_si128(distance(of62, 62, kOf62), distance(of63, 63, kOf63)));
    const __m128i values = _mm_add_epi8(characters, _mm_or_si128(letters, others));
    // Pairs of values become 12 bits, pairs of those 24, with their bytes in the order of the text.
    const __m128i pairs =
        _mm_or_si128(_mm_slli_epi16(_mm_and_si128(values, _mm_set1_epi16(0xFF)), 6), _mm_srli_epi16(values, 8));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    const __m128i bytes =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi32(groups, 16), _mm_and_si128(groups, _mm_set1_epi32(0xFF00))),
                     _mm_slli_epi32(_mm_and_si128(groups, _mm_set1_epi32(0xFF)), 16));
    const auto store = [](std::int64_t twoGroups, std::uint8_t* to) {
        const auto both = static_cast<std::uint64_t>(twoGroups);
        const std::uint64_t sixBytes = (both & 0xFFFFFF) | both >> 32 << 24;
        std::memcpy(to, &sixBytes, sizeof sixBytes);
    };
    store(_mm_cvtsi128_si64(bytes), output);
    store(_mm_cvtsi128_si64(_mm_unpackhi_epi64(bytes, bytes)), output + kBase64BlockBytes / 2);
    return true;
}

}  // namespace quorvanti

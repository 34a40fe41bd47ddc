// Eight or sixteen ASCII characters at once between UTF-8 and the wide forms. SSE2 belongs to every x64 processor.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#include "krn/rscp/utf_tables.h"

namespace quorvanti {

template <std::ptrdiff_t count>
__m128i loadBytes(const std::uint8_t* from) {
    static_assert(count == 8 || count == 16);
    const auto* const block = reinterpret_cast<const __m128i*>(from);
    return count == 16 ? _mm_loadu_si128(block) : _mm_loadl_epi64(block);
}

template <std::ptrdiff_t count>
void storeBytes(std::uint8_t* to, __m128i bytes) {
    auto* const block = reinterpret_cast<__m128i*>(to);
    count == 16 ? _mm_storeu_si128(block, bytes) : _mm_storel_epi64(block, bytes);
}

// Whether none of the bytes is beyond ASCII or, in the refusing members, a control code.
template <ControlCodes controls, std::ptrdiff_t count>
bool plainAscii(__m128i bytes) {
    __m128i refused = bytes;
    if constexpr (controls == ControlCodes::refused) {
        // Compared as signed numbers, bytes beyond ASCII are below the blank as well.
        refused = _mm_or_si128(_mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)), _mm_cmpeq_epi8(bytes, _mm_set1_epi8(0x7F)));
    }
    constexpr int kAll = (1 << count) - 1;
    return (_mm_movemask_epi8(refused) & kAll) == 0;
}

// Puts a zero before or behind each of the low elements, as the byte order wants the value.
template <ByteOrder order>
__m128i widenLow8(__m128i bytes) {
    const __m128i zero = _mm_setzero_si128();
    return order == ByteOrder::native ? _mm_unpacklo_epi8(bytes, zero) : _mm_unpacklo_epi8(zero, bytes);
}
template <ByteOrder order>
__m128i widenHigh8(__m128i bytes) {
    const __m128i zero = _mm_setzero_si128();
    return order == ByteOrder::native ? _mm_unpackhi_epi8(bytes, zero) : _mm_unpackhi_epi8(zero, bytes);
}
template <ByteOrder order>
void storeWidened16(std::uint8_t* to, __m128i units) {
    const __m128i zero = _mm_setzero_si128();
    const bool native = order == ByteOrder::native;
    storeBytes<16>(to, native ? _mm_unpacklo_epi16(units, zero) : _mm_unpacklo_epi16(zero, units));
    storeBytes<16>(to + 16, native ? _mm_unpackhi_epi16(units, zero) : _mm_unpackhi_epi16(zero, units));
}

// True when all `count` characters were plain ASCII and were written; else nothing was.
template <WideForm form, ByteOrder order, ControlCodes controls, std::ptrdiff_t count>
bool widenAscii(const std::uint8_t* from, std::uint8_t* to) {
    const __m128i bytes = loadBytes<count>(from);
    if (!plainAscii<controls, count>(bytes)) {
        return false;
    }
    if constexpr (form == WideForm::ucs4) {
        storeWidened16<order>(to, widenLow8<order>(bytes));
        if constexpr (count == 16) {
            storeWidened16<order>(to + 32, widenHigh8<order>(bytes));
        }
    } else {
        storeBytes<16>(to, widenLow8<order>(bytes));
        if constexpr (count == 16) {
            storeBytes<16>(to + 16, widenHigh8<order>(bytes));
        }
    }
    return true;
}

// Four UCS-4 units as 16-bit ones, eight 16-bit units as bytes; exact for ASCII.
template <ByteOrder order>
__m128i narrow32(const std::uint8_t* from) {
    const __m128i low = loadBytes<16>(from);
    const __m128i high = loadBytes<16>(from + 16);
    return order == ByteOrder::native ? _mm_packs_epi32(low, high)
                                      : _mm_packs_epi32(_mm_srli_epi32(low, 24), _mm_srli_epi32(high, 24));
}

template <WideForm form, ByteOrder order, ControlCodes controls, std::ptrdiff_t count>
bool narrowAscii(const std::uint8_t* from, std::uint8_t* to) {
    constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);
    // All bits of the units that ASCII leaves zero, gathered.
    __m128i all = loadBytes<16>(from);
    for (std::ptrdiff_t i = 16; i < count * kUnit; i += 16) {
        all = _mm_or_si128(all, loadBytes<16>(from + i));
    }
    const __m128i beyond = form == WideForm::ucs4
                               ? _mm_set1_epi32(order == ByteOrder::native ? ~0x7F : static_cast<int>(0x80FFFFFF))
                               : _mm_set1_epi16(static_cast<short>(order == ByteOrder::native ? 0xFF80 : 0x80FF));
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(all, beyond), _mm_setzero_si128())) != 0xFFFF) {
        return false;
    }
    __m128i words[2] = {};
    for (std::ptrdiff_t i = 0; i < count / 8; ++i) {
        const std::uint8_t* const eight = from + i * 8 * kUnit;
        if constexpr (form == WideForm::ucs4) {
            words[i] = narrow32<order>(eight);
        } else {
            words[i] = order == ByteOrder::native ? loadBytes<16>(eight) : _mm_srli_epi16(loadBytes<16>(eight), 8);
        }
    }
    const __m128i bytes = _mm_packus_epi16(words[0], words[1]);
    if (!plainAscii<controls, count>(bytes)) {
        return false;
    }
    storeBytes<count>(to, bytes);
    return true;
}

}  // namespace quorvanti

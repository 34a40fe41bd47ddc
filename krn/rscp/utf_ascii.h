// Sixteen ASCII characters at once between UTF-8 and the wide forms.
#pragma once

#include "krn/rscp/utf_tables.h"
#include "krn/rscp/utf_vectors.h"

namespace quorvanti {

// Whether none of the bytes is beyond ASCII or, in the refusing members, a control code.
template <ControlCodes controls>
bool plainAscii(__m128i bytes) {
    __m128i refused = bytes;
    if constexpr (controls == ControlCodes::refused) {
        // Compared as signed numbers, bytes beyond ASCII are below the blank as well.
        refused = _mm_or_si128(_mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)), _mm_cmpeq_epi8(bytes, _mm_set1_epi8(0x7F)));
    }
    return _mm_movemask_epi8(refused) == 0;
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
    storeBytes(to, native ? _mm_unpacklo_epi16(units, zero) : _mm_unpacklo_epi16(zero, units));
    storeBytes(to + 16, native ? _mm_unpackhi_epi16(units, zero) : _mm_unpackhi_epi16(zero, units));
}

// True when all sixteen characters were plain ASCII and were written; else nothing was.
template <WideForm form, ByteOrder order, ControlCodes controls>
bool widenAscii(const std::uint8_t* from, std::uint8_t* to) {
    const __m128i bytes = loadBytes(from);
    if (!plainAscii<controls>(bytes)) {
        return false;
    }
    if constexpr (form == WideForm::ucs4) {
        storeWidened16<order>(to, widenLow8<order>(bytes));
        storeWidened16<order>(to + 32, widenHigh8<order>(bytes));
    } else {
        storeBytes(to, widenLow8<order>(bytes));
        storeBytes(to + 16, widenHigh8<order>(bytes));
    }
    return true;
}

// Four UCS-4 units as 16-bit ones, eight 16-bit units as bytes; exact for ASCII.
template <ByteOrder order>
__m128i narrow32(const std::uint8_t* from) {
    const __m128i low = loadBytes(from);
    const __m128i high = loadBytes(from + 16);
    return order == ByteOrder::native ? _mm_packs_epi32(low, high)
                                      : _mm_packs_epi32(_mm_srli_epi32(low, 24), _mm_srli_epi32(high, 24));
}

template <WideForm form, ByteOrder order, ControlCodes controls>
bool narrowAscii(const std::uint8_t* from, std::uint8_t* to) {
    constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);
    // All bits of the units that ASCII leaves zero, gathered.
    __m128i all = loadBytes(from);
    for (std::ptrdiff_t i = 16; i < 16 * kUnit; i += 16) {
        all = _mm_or_si128(all, loadBytes(from + i));
    }
    const __m128i beyond = form == WideForm::ucs4
                               ? _mm_set1_epi32(order == ByteOrder::native ? ~0x7F : static_cast<int>(0x80FFFFFF))
                               : _mm_set1_epi16(static_cast<short>(order == ByteOrder::native ? 0xFF80 : 0x80FF));
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(all, beyond), _mm_setzero_si128())) != 0xFFFF) {
        return false;
    }
    __m128i words[2] = {};
    for (std::ptrdiff_t i = 0; i < 2; ++i) {
        const std::uint8_t* const eight = from + i * 8 * kUnit;
        if constexpr (form == WideForm::ucs4) {
            words[i] = narrow32<order>(eight);
        } else {
            words[i] = order == ByteOrder::native ? loadBytes(eight) : _mm_srli_epi16(loadBytes(eight), 8);
        }
    }
    const __m128i bytes = _mm_packus_epi16(words[0], words[1]);
    if (!plainAscii<controls>(bytes)) {
        return false;
    }
    storeBytes(to, bytes);
    return true;
}

}  // namespace quorvanti

// Decodes 64 bytes of UTF-8 at once: where each unit's character begins and ends is gathered without a branch that
// depends on the lengths, then the bytes of 16 or 32 units are fetched together.
//
// This file is compiled for processors that not every machine has. So nothing in it may have external linkage but what
// is asked for by name: the linker could take such a function for everyone. That goes for std::min, too.
#include <immintrin.h>

#include "krn/rscp/utf_avx512_steps.h"
#include "krn/rscp/utf_tables.h"

namespace quorvanti {
namespace {

using Mask = std::uint64_t;

// `count` is at most 64.
Mask lowest(std::ptrdiff_t count) {
    return _bzhi_u64(~Mask{0}, static_cast<unsigned>(count));
}
__m512i byte(int value) {
    return _mm512_set1_epi8(static_cast<char>(value));
}
Mask atLeast(__m512i v, int value) {
    return _mm512_cmpge_epu8_mask(v, byte(value));
}

// By byte from 0x80 on: what it adds to the value of its character.
struct alignas(64) ByteTable {
    std::uint8_t entries[128];
};
constexpr ByteTable kValues = [] {
    ByteTable table{};
    for (unsigned i = 0; i < 128; ++i) {
        const unsigned bits = i < 0x40 ? 0x3F : i < 0x60 ? 0x1F : i < 0x70 ? 0x0F : 0x07;
        table.entries[i] = static_cast<std::uint8_t>(i & bits);
    }
    return table;
}();

// By lead byte from 0xC0 on: the smallest second byte that is taken here. Lead bytes that are not, or not always, have
// none.
struct alignas(64) LeadTable {
    std::uint8_t smallest[64];
};
constexpr LeadTable smallestSeconds(WideForm form, ControlCodes controls) {
    LeadTable table{};
    const unsigned none = form == WideForm::ucs2 ? 0xF0 : form == WideForm::utf16 ? 0xF4 : 0xF8;
    for (unsigned lead = 0xC0; lead <= 0xFF; ++lead) {
        table.smallest[lead - 0xC0] = lead < 0xC2 || lead >= none                                           ? 0xFF
                                      : lead == 0xE0 || (lead == 0xC2 && controls == ControlCodes::refused) ? 0xA0
                                      : lead == 0xF0                                                        ? 0x90
                                                                                                            : 0x80;
    }
    return table;
}
template <WideForm form, ControlCodes controls>
constexpr LeadTable kSmallestSeconds = smallestSeconds(form, controls);

template <WideForm form, ByteOrder order, ControlCodes controls>
class Avx512Decoder {
    static constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);
    static constexpr std::ptrdiff_t kUnits = 64 / kUnit;

public:
    // Moves both positions.
    static void decode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                       const std::uint8_t* end) {
        const std::uint8_t* from = source;
        std::uint8_t* to = destination;
        while (from < sourceEnd) {
            const std::ptrdiff_t count = sourceEnd - from < 64 ? sourceEnd - from : 64;
            const Mask valid = lowest(count);
            const __m512i v = _mm512_maskz_loadu_epi8(valid, from);
            const Mask beyondAscii = _mm512_movepi8_mask(v);
            Mask refused = 0;
            if constexpr (controls == ControlCodes::refused) {
                // Behind the end there are zeros.
                refused = (_mm512_cmplt_epu8_mask(v, byte(0x20)) & valid) | _mm512_cmpeq_epi8_mask(v, byte(0x7F));
            }
            if ((beyondAscii | refused) == 0) {
                if ((end - to) / kUnit < count) {
                    break;
                }
                widen(v, count, to);
                from += count;
                to += count * kUnit;
                continue;
            }
            const Characters characters =
                find(v, _mm512_maskz_loadu_epi8(valid >> 1, from + 1), beyondAscii, refused, valid);
            const std::ptrdiff_t units = characters.units;
            if (characters.consumed == 0 || (end - to) / kUnit < units) {
                break;
            }
            write(v, beyondAscii, characters, units, to);
            from += characters.consumed;
            to += units * kUnit;
        }
        source = from;
        destination = to;
    }

private:
    // A bit for each byte: where the bytes of a unit begin, also behind the last one; and where the second halves of
    // surrogate pairs do.
    struct Characters {
        Mask starts;
        Mask lows;
        std::ptrdiff_t units;
        std::ptrdiff_t consumed;
    };

    // The whole characters before the first byte that does not belong there.
    static Characters find(__m512i v, __m512i next, Mask beyondAscii, Mask refused, Mask valid) {
        const __mmask64 leads = atLeast(v, 0xC0);
        const Mask three = atLeast(v, 0xE0);
        const Mask four = form == WideForm::ucs2 ? 0 : atLeast(v, 0xF0);
        const __m512i smallest =
            _mm512_maskz_permutexvar_epi8(leads, v, _mm512_load_si512(kSmallestSeconds<form, controls>.smallest));
        const Mask continues = beyondAscii & ~leads;
        refused |= _mm512_cmplt_epu8_mask(next, smallest);
        refused |= (leads << 1 | three << 2 | four << 3) ^ continues;
        valid &= lowest(static_cast<std::ptrdiff_t>(_tzcnt_u64(refused)));
        const Mask lasts = (~beyondAscii | (leads & ~three) << 1 | (three & ~four) << 2 | four << 3) & valid;
        const auto consumed = static_cast<std::ptrdiff_t>(64 - _lzcnt_u64(lasts));
        const Mask whole = lowest(consumed);
        const Mask lows = form == WideForm::utf16 ? four << 3 & whole : 0;
        const Mask starts = (~continues & whole) | lows;
        // No bit behind the last of 64.
        return {starts | (whole + 1), lows, _mm_popcnt_u64(starts), consumed};
    }

    static void store(std::uint8_t* to, std::ptrdiff_t units, __m512i words) {
        if constexpr (kUnit == 4) {
            _mm512_mask_storeu_epi32(to, static_cast<__mmask16>(lowest(units < kUnits ? units : kUnits)), words);
        } else {
            _mm512_mask_storeu_epi16(to, static_cast<__mmask32>(lowest(units < kUnits ? units : kUnits)), words);
        }
    }

    static __m512i places() {
        return _mm512_set_epi64(0x3F3E3D3C3B3A3938, 0x3736353433323130, 0x2F2E2D2C2B2A2928, 0x2726252423222120,
                                0x1F1E1D1C1B1A1918, 0x1716151413121110, 0x0F0E0D0C0B0A0908, 0x0706050403020100);
    }

    // For each byte of the units which element of a list it belongs to.
    static __m512i unitOfByte() {
        return _mm512_and_si512(_mm512_srli_epi16(places(), kUnit == 4 ? 2 : 1), byte(kUnits - 1));
    }

    static void widen(__m512i v, std::ptrdiff_t count, std::uint8_t* to) {
        constexpr Mask kLowBytes = kUnit == 4 ? 0x1111111111111111 : 0x5555555555555555;
        constexpr Mask kPlaces = order == ByteOrder::native ? kLowBytes : kLowBytes << (kUnit - 1);
        __m512i unit = unitOfByte();
        for (std::ptrdiff_t done = 0; done < count; done += kUnits) {
            store(to + done * kUnit, count - done, _mm512_maskz_permutexvar_epi8(kPlaces, unit, v));
            unit = _mm512_add_epi8(unit, byte(kUnits));
        }
    }

    static void write(__m512i v, __mmask64 beyondAscii, const Characters& characters, std::ptrdiff_t units,
                      std::uint8_t* to) {
        const __m512i starts = _mm512_mask_compress_epi8(byte(64), characters.starts, places());
        const __m512i values = _mm512_mask2_permutex2var_epi8(_mm512_load_si512(kValues.entries), v, beyondAscii,
                                                              _mm512_load_si512(kValues.entries + 64));
        Mask lows = _pext_u64(characters.lows, characters.starts);
        __m512i unit = unitOfByte();
        for (std::ptrdiff_t done = 0; done < units; done += kUnits) {
            const __m512i start = _mm512_permutexvar_epi8(unit, starts);
            const __m512i end = _mm512_permutexvar_epi8(_mm512_add_epi8(unit, byte(1)), starts);
            if constexpr (kUnit == 4) {
                store(to + done * kUnit, units - done, ordered(fetch32(values, start, end)));
            } else {
                store(to + done * kUnit, units - done, ordered(fetch16(values, start, end, lows)));
            }
            lows >>= kUnits % 64;
            unit = _mm512_add_epi8(unit, byte(kUnits));
        }
    }

    // The bytes so many places before the end of each character that belong to it; zero elsewhere.
    static __mmask64 own(__m512i place, __m512i start) { return _mm512_cmpge_epi8_mask(place, start); }
    static __m512i fetch32(__m512i values, __m512i start, __m512i end) {
        const __m512i place = _mm512_sub_epi8(end, _mm512_set1_epi32(0x04030201));
        const __m512i bytes = _mm512_maskz_permutexvar_epi8(own(place, start), place, values);
        const __m512i pairs = _mm512_maddubs_epi16(bytes, _mm512_set1_epi16(64 << 8 | 1));
        return _mm512_madd_epi16(pairs, _mm512_set1_epi32(4096 << 16 | 1));
    }
    // The first half of a surrogate pair has the first three bytes of four, the second one the last two.
    static __m512i fetch16(__m512i values, __m512i start, __m512i end, Mask lows) {
        constexpr Mask kLowBytes = 0x5555555555555555;
        const __m512i place = _mm512_sub_epi8(end, _mm512_set1_epi16(0x0201));
        __mmask64 owned = own(place, start);
        if constexpr (form == WideForm::utf16) {
            owned |= _pdep_u64(lows, ~kLowBytes);
        }
        const __m512i bytes = _mm512_maskz_permutexvar_epi8(owned, place, values);
        const __m512i third = _mm512_sub_epi8(end, byte(3));
        const __m512i words = _mm512_add_epi16(
            _mm512_maddubs_epi16(bytes, _mm512_set1_epi16(64 << 8 | 1)),
            _mm512_slli_epi16(_mm512_maskz_permutexvar_epi8(own(third, start) & kLowBytes, third, values), 12));
        if constexpr (form == WideForm::utf16) {
            const auto low = static_cast<__mmask32>(lows);
            const auto high = static_cast<__mmask32>(lows >> 1);
            const __m512i first = _mm512_mask_add_epi16(words, high, _mm512_srli_epi16(words, 4),
                                                        _mm512_set1_epi16(static_cast<short>(0xD7C0)));
            return _mm512_mask_add_epi16(first, low, _mm512_and_si512(words, _mm512_set1_epi16(0x03FF)),
                                         _mm512_set1_epi16(static_cast<short>(0xDC00)));
        }
        return words;
    }

    static __m512i ordered(__m512i words) {
        if constexpr (order == ByteOrder::native) {
            return words;
        } else if constexpr (kUnit == 4) {
            return _mm512_shuffle_epi8(
                words, _mm512_broadcast_i32x4(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12)));
        } else {
            return _mm512_shuffle_epi8(
                words, _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14)));
        }
    }
};

}  // namespace

template <WideForm form, ByteOrder order, ControlCodes controls>
std::int32_t avx512Decode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                          std::uint8_t* destinationEnd, const void* substitute, std::uint32_t* substituted,
                          UtfDecoder rest) {
    Avx512Decoder<form, order, controls>::decode(source, sourceEnd, destination, destinationEnd);
    return source >= sourceEnd || rest == nullptr
               ? 0
               : rest(source, sourceEnd, destination, destinationEnd, substitute, substituted);
}

#define QUORVANTI_DECODER(form, order, controls)                                                               \
    template std::int32_t avx512Decode<WideForm::form, ByteOrder::order, ControlCodes::controls>(              \
        const std::uint8_t*&, const std::uint8_t*, std::uint8_t*&, std::uint8_t*, const void*, std::uint32_t*, \
        UtfDecoder)
QUORVANTI_DECODER(ucs2, native, allowed);
QUORVANTI_DECODER(ucs2, native, refused);
QUORVANTI_DECODER(ucs2, swapped, allowed);
QUORVANTI_DECODER(ucs2, swapped, refused);
QUORVANTI_DECODER(utf16, native, allowed);
QUORVANTI_DECODER(utf16, native, refused);
QUORVANTI_DECODER(utf16, swapped, allowed);
QUORVANTI_DECODER(utf16, swapped, refused);
QUORVANTI_DECODER(ucs4, native, allowed);
QUORVANTI_DECODER(ucs4, native, refused);
QUORVANTI_DECODER(ucs4, swapped, allowed);
QUORVANTI_DECODER(ucs4, swapped, refused);
#undef QUORVANTI_DECODER

}  // namespace quorvanti

// Decodes 64 bytes of UTF-8 at once: where each unit's character begins and ends is gathered without a branch that
// depends on the lengths, then the bytes of 16 or 32 units are fetched together.
//
// This file is compiled for processors that not every machine has. So nothing in it may have external linkage but what
// is asked for by name: the linker could take such a function for everyone. That goes for std::min, too.
#include <immintrin.h>

#include "krn/rscp/utf_avx512.h"
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

// Vectors of one word again and again, kept from the compiler: it would make each of them anew from a general register,
// which takes a short text longer than to fetch it.
struct alignas(64) Repeated {
    std::uint16_t words[32];
};
constexpr Repeated repeated(std::uint16_t word) {
    Repeated vector{};
    for (std::uint16_t& place : vector.words) {
        place = word;
    }
    return vector;
}
enum Constant : std::size_t { smallestLead, behindLast, inSeconds, highSurrogate, lowSurrogate };
constexpr Repeated kConstants[] = {repeated(0xC0C0), repeated(0x4040), repeated(0x4000), repeated(0xD7C0),
                                   repeated(0xDC00 >> 10)};
__m512i constant(Constant wanted) {
    const Repeated* constants = kConstants;
    asm("" : "+r"(constants));
    return _mm512_load_si512(constants + wanted);
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
    // Moves both positions. True when nothing is left.
    static bool decode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
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
                if (end - to < count * kUnit) {
                    break;
                }
                widen(v, count, to);
                from += count;
                to += count * kUnit;
                continue;
            }
            const Characters characters = find(v, count, beyondAscii, refused, valid);
            const std::ptrdiff_t units = characters.units;
            if (characters.consumed == 0 || end - to < units * kUnit) {
                break;
            }
            write(v, beyondAscii, characters, to);
            from += characters.consumed;
            to += units * kUnit;
        }
        source = from;
        destination = to;
        return from >= sourceEnd;
    }

private:
    // A bit for each byte.
    struct Characters {
        __mmask64 starts;  // of each unit, and of a character that is cut
        Mask lows;         // of the second halves of surrogate pairs, which begin and end with the last of four bytes
        Mask continues;    // follow-up bytes
        Mask valid;
        std::ptrdiff_t units;
        std::ptrdiff_t consumed;
    };

    // The whole characters before the first byte that does not belong there.
    static Characters find(__m512i v, std::ptrdiff_t count, Mask beyondAscii, Mask refused, Mask valid) {
        const __m512i twice = _mm512_add_epi8(v, v);
        const __m512i fourTimes = _mm512_add_epi8(twice, twice);
        const Mask leads = beyondAscii & _mm512_movepi8_mask(twice);
        const Mask three = leads & _mm512_movepi8_mask(fourTimes);
        const Mask four =
            form == WideForm::ucs2 ? 0 : three & _mm512_movepi8_mask(_mm512_add_epi8(fourTimes, fourTimes));
        const __m512i smallest =
            _mm512_permutexvar_epi8(v, _mm512_load_si512(kSmallestSeconds<form, controls>.smallest));
        const __m512i before = _mm512_permutexvar_epi8(_mm512_sub_epi8(places(), byte(1)), smallest);
        const Mask continues = beyondAscii & ~leads;
        // A bit for each byte that another one belongs behind.
        Mask goesOn = leads | three << 1 | four << 2;
        refused |= _mm512_cmplt_epu8_mask(v, before) & leads << 1;
        refused |= goesOn << 1 ^ continues;
        refused &= valid;
        Mask inside = leads;
        // A branch: nearly always false, so that nothing below waits for the answer.
        if (refused != 0) [[unlikely]] {
            count = static_cast<std::ptrdiff_t>(_tzcnt_u64(refused));
            valid = lowest(count);
            inside &= valid;
            goesOn = inside | (three & valid) << 1 | (four & valid) << 2;
        }
        // The last character goes on behind the last valid byte: then it begins where the one before it ends.
        const bool cut = goesOn > valid >> 1;
        const auto consumed = cut ? static_cast<std::ptrdiff_t>(63 - _lzcnt_u64(inside)) : count;
        const Mask lows = form == WideForm::utf16 ? four << 3 & valid : 0;
        if constexpr (form == WideForm::utf16) {
            const Mask starts = (~continues & valid) | lows;
            return {starts, lows, continues, valid, _mm_popcnt_u64(starts) - cut, consumed};
        }
        const __mmask64 starts = _mm512_mask_cmpge_epi8_mask(valid, v, constant(smallestLead));
        return {starts, lows, continues, valid, _mm_popcnt_u64(starts) - cut, consumed};
    }

    static void store(std::uint8_t* to, std::ptrdiff_t units, __m512i words) {
        if constexpr (kUnit == 4) {
            _mm512_mask_storeu_epi32(to, static_cast<__mmask16>(lowest(units)), words);
        } else {
            _mm512_mask_storeu_epi16(to, static_cast<__mmask32>(lowest(units)), words);
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

    static void write(__m512i v, __mmask64 beyondAscii, const Characters& characters, std::uint8_t* to) {
        const __m512i values = _mm512_mask2_permutex2var_epi8(_mm512_load_si512(kValues.entries), v, beyondAscii,
                                                              _mm512_load_si512(kValues.entries + 64));
        if constexpr (kUnit == 4) {
            write32(values, characters, to);
        } else {
            write16(values, characters, to);
        }
    }

    static void write32(__m512i values, const Characters& characters, std::uint8_t* to) {
        const __mmask64 bounds = _kor_mask64(characters.starts, characters.valid + 1);
        const __m512i starts = _mm512_mask_compress_epi8(constant(behindLast), bounds, places());
        __m512i unit = unitOfByte();
        for (std::ptrdiff_t units = characters.units;;) {
            const __m512i start = _mm512_permutexvar_epi8(unit, starts);
            const __m512i end = _mm512_permutexvar_epi8(_mm512_add_epi8(unit, byte(1)), starts);
            // The bytes so many places before the end of each character that belong to it; zero elsewhere.
            const __m512i place = _mm512_sub_epi8(end, _mm512_set1_epi32(0x04030201));
            const __m512i bytes = _mm512_maskz_permutexvar_epi8(_mm512_cmpge_epi8_mask(place, start), place, values);
            const __m512i pairs = _mm512_maddubs_epi16(bytes, _mm512_set1_epi16(64 << 8 | 1));
            store(to, units, ordered(_mm512_madd_epi16(pairs, _mm512_set1_epi32(4096 << 16 | 1))));
            if ((units -= kUnits) <= 0) {
                return;
            }
            to += 64;
            unit = _mm512_add_epi8(unit, byte(kUnits));
        }
    }

    static void write16(__m512i values, const Characters& characters, std::uint8_t* to) {
        const Mask continues = characters.continues;
        const Mask valid = characters.valid;
        // What the one and the two bytes before each byte add to its character: zero where they belong to another one.
        const __m512i seconds = _mm512_maskz_permutexvar_epi8(continues, _mm512_sub_epi8(places(), byte(1)), values);
        const __m512i thirds =
            _mm512_maskz_permutexvar_epi8(continues & continues << 1, _mm512_sub_epi8(places(), byte(2)), values);
        const Mask ends = characters.starts >> 1 | (valid & ~(valid >> 1));
        const __m512i lasts = _mm512_maskz_compress_epi8(ends, places());
        Mask lows = _pext_u64(characters.lows, ends);
        __m512i unit = unitOfByte();
        for (std::ptrdiff_t units = characters.units;;) {
            const __m512i last = _mm512_permutexvar_epi8(unit, lasts);
            const __m512i bytes = _mm512_permutex2var_epi8(values, _mm512_or_si512(last, constant(inSeconds)), seconds);
            const __m512i words = _mm512_add_epi16(_mm512_maddubs_epi16(bytes, _mm512_set1_epi16(64 << 8 | 1)),
                                                   _mm512_slli_epi16(_mm512_permutexvar_epi8(last, thirds), 12));
            store(to, units, ordered(withSurrogates(words, lows)));
            if ((units -= kUnits) <= 0) {
                return;
            }
            to += 64;
            lows >>= kUnits % 64;
            unit = _mm512_add_epi8(unit, byte(kUnits));
        }
    }

    // The first half of a pair comes with the first three bytes of four, the second one with the last two.
    static __m512i withSurrogates(__m512i words, Mask lows) {
        if constexpr (form != WideForm::utf16) {
            return words;
        }
        const __m512i firsts = _mm512_mask_add_epi16(words, static_cast<__mmask32>(lows >> 1),
                                                     _mm512_srli_epi16(words, 4), constant(highSurrogate));
        return _mm512_mask_shldi_epi16(firsts, static_cast<__mmask32>(lows), constant(lowSurrogate),
                                       _mm512_slli_epi16(words, 6), 10);
    }

    static __m512i ordered(__m512i words) {
        if constexpr (order == ByteOrder::native) {
            return words;
        } else if constexpr (kUnit == 4) {
            return _mm512_shuffle_epi8(
                words, _mm512_broadcast_i32x4(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12)));
        } else {
            return _mm512_shldi_epi16(words, words, 8);
        }
    }
};

// Not inlined: a call in the middle would cost every text the room on the stack for what has to outlive it.
template <WideForm form, ByteOrder order, ControlCodes controls>
[[gnu::noinline]] std::int32_t decodeRest(const std::uint8_t*& source, const std::uint8_t* sourceEnd,
                                          std::uint8_t*& destination, std::uint8_t* destinationEnd,
                                          const void* substitute, std::uint32_t* substituted) {
    return utfDecoder(form, order, controls, UtfInstructions::sse2)(source, sourceEnd, destination, destinationEnd,
                                                                    substitute, substituted);
}

}  // namespace

template <WideForm form, ByteOrder order, ControlCodes controls>
std::int32_t avx512Decode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                          std::uint8_t* destinationEnd, const void* substitute, std::uint32_t* substituted) {
    return Avx512Decoder<form, order, controls>::decode(source, sourceEnd, destination, destinationEnd)
               ? 0
               : decodeRest<form, order, controls>(source, sourceEnd, destination, destinationEnd, substitute,
                                                   substituted);
}

#define QUORVANTI_DECODER(form, order, controls)                                                  \
    template std::int32_t avx512Decode<WideForm::form, ByteOrder::order, ControlCodes::controls>( \
        const std::uint8_t*&, const std::uint8_t*, std::uint8_t*&, std::uint8_t*, const void*, std::uint32_t*)
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

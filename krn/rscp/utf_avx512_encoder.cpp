// Encodes sixteen units at once: each as the last of four bytes, of which those that belong to it are then moved
// together.
//
// This file is compiled for processors that not every machine has. So nothing in it may have external linkage but what
// is asked for by name: the linker could take such a function for everyone. That goes for std::min, too.
#include <immintrin.h>

#include "krn/rscp/utf_avx512.h"
#include "krn/rscp/utf_tables.h"

namespace quorvanti {
namespace {

// A bit for each unit. `count` is at most 16.
using Mask = std::uint32_t;

Mask lowest(std::ptrdiff_t count) {
    return _bzhi_u32(~Mask{0}, static_cast<unsigned>(count));
}
__m512i lanes(std::uint32_t value) {
    return _mm512_set1_epi32(static_cast<int>(value));
}
Mask below(__m512i units, std::uint32_t value) {
    return _mm512_cmplt_epu32_mask(units, lanes(value));
}
Mask atLeast(__m512i units, std::uint32_t value) {
    return _mm512_cmpge_epu32_mask(units, lanes(value));
}

template <WideForm form, ByteOrder order, ControlCodes controls>
class Avx512Encoder {
    static constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);
    static constexpr std::ptrdiff_t kUnits = 16;

public:
    // Moves both positions. True when nothing is left.
    static bool encode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                       const std::uint8_t* end) {
        const std::uint8_t* from = source;
        std::uint8_t* to = destination;
        while (sourceEnd - from >= kUnit) {
            const std::ptrdiff_t rest = (sourceEnd - from) / kUnit;
            std::ptrdiff_t count = rest < kUnits ? rest : kUnits;
            __m512i units = load(from, static_cast<__mmask16>(lowest(count)));
            const Mask refused = refusedOnes(units) & lowest(count);
            if (refused != 0) {
                count = static_cast<std::ptrdiff_t>(_tzcnt_u32(refused));
            }
            if ((atLeast(units, 0x80) | refused) == 0) {
                if (end - to < count) {
                    break;
                }
                _mm_mask_storeu_epi8(to, static_cast<__mmask16>(lowest(count)), _mm512_cvtepi32_epi8(units));
                from += count * kUnit;
                to += count;
                while (sourceEnd - from >= 64 && end - to >= 64 / kUnit && narrow(from, to)) {
                    from += 64;
                    to += 64 / kUnit;
                }
                continue;
            }
            Mask written = lowest(count);
            if constexpr (form == WideForm::utf16) {
                const Mask highs = halves(units, 0xD800) & written;
                units =
                    _mm512_mask_add_epi32(units, static_cast<__mmask16>(highs), _mm512_slli_epi32(units, 10),
                                          _mm512_add_epi32(next(units), lanes(0x10000U - (0xD800U << 10) - 0xDC00U)));
                written &= ~(highs << 1);
            }
            const std::ptrdiff_t length = write(units, static_cast<__mmask16>(written), to, end);
            if (length == 0) {
                break;
            }
            from += count * kUnit;
            to += length;
        }
        source = from;
        destination = to;
        return from >= sourceEnd;
    }

private:
    static __m512i load(const std::uint8_t* from, __mmask16 valid) {
        if constexpr (form == WideForm::ucs4) {
            const __m512i units = _mm512_maskz_loadu_epi32(valid, from);
            if constexpr (order == ByteOrder::native) {
                return units;
            }
            return _mm512_shuffle_epi8(
                units, _mm512_broadcast_i32x4(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12)));
        } else {
            const __m512i units = _mm512_cvtepu16_epi32(_mm256_maskz_loadu_epi16(valid, from));
            if constexpr (order == ByteOrder::native) {
                return units;
            }
            constexpr char kNone = -1;
            return _mm512_shuffle_epi8(
                units, _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, kNone, kNone, 5, 4, kNone, kNone, 9, 8, kNone, kNone,
                                                            13, 12, kNone, kNone)));
        }
    }

    // 64 bytes of ASCII, if that is what they are: a step for texts that hold nothing else.
    static bool narrow(const std::uint8_t* from, std::uint8_t* to) {
        constexpr std::uint32_t kBeyond = form == WideForm::ucs4
                                              ? (order == ByteOrder::native ? 0xFFFFFF80 : 0x80FFFFFF)
                                              : (order == ByteOrder::native ? 0xFF80FF80 : 0x80FF80FF);
        constexpr unsigned kShift = order == ByteOrder::native ? 0 : 8 * (kUnit - 1);
        const __m512i units = _mm512_loadu_si512(from);
        if (_mm512_test_epi32_mask(units, lanes(kBeyond)) != 0) {
            return false;
        }
        if constexpr (form == WideForm::ucs4) {
            const __m128i bytes = _mm512_cvtepi32_epi8(_mm512_srli_epi32(units, kShift));
            if (controls == ControlCodes::refused && (_mm_cmplt_epu8_mask(bytes, _mm_set1_epi8(0x20)) |
                                                      _mm_cmpeq_epi8_mask(bytes, _mm_set1_epi8(0x7F))) != 0) {
                return false;
            }
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
        } else {
            const __m256i bytes = _mm512_cvtepi16_epi8(_mm512_srli_epi16(units, kShift));
            if (controls == ControlCodes::refused && (_mm256_cmplt_epu8_mask(bytes, _mm256_set1_epi8(0x20)) |
                                                      _mm256_cmpeq_epi8_mask(bytes, _mm256_set1_epi8(0x7F))) != 0) {
                return false;
            }
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
        }
        return true;
    }

    static Mask halves(__m512i units, std::uint32_t first) {
        return _mm512_cmpeq_epi32_mask(_mm512_and_si512(units, lanes(0xFC00)), lanes(first));
    }
    static __m512i next(__m512i units) { return _mm512_alignr_epi32(_mm512_setzero_si512(), units, 1); }

    // Units that are for the loop that knows what to say of them. A high surrogate at the end is one of them: it comes
    // first in the next block, if there is one.
    static Mask refusedOnes(__m512i units) {
        Mask refused = 0;
        if constexpr (controls == ControlCodes::refused) {
            refused |= below(units, 0x20) | below(_mm512_sub_epi32(units, lanes(0x7F)), 0xA0 - 0x7F);
        }
        if constexpr (form == WideForm::ucs4) {
            refused |= atLeast(units, 0x200000);
        }
        if constexpr (form == WideForm::utf16) {
            const Mask highs = halves(units, 0xD800);
            const Mask lows = halves(units, 0xDC00);
            refused |= (highs & ~(lows >> 1)) | (lows & ~(highs << 1));
        }
        return refused;
    }

    // How many bytes were written; 0 when there is no room.
    static std::ptrdiff_t write(__m512i units, __mmask16 written, std::uint8_t* to, const std::uint8_t* end) {
        const __mmask16 ascii = static_cast<__mmask16>(below(units, 0x80));
        // The marks of the bytes that a character has.
        __m512i marks = _mm512_maskz_mov_epi32(written, lanes(0x80C00000));
        marks = _mm512_mask_mov_epi32(marks, ascii & written, lanes(0x80000000));
        marks =
            _mm512_mask_mov_epi32(marks, static_cast<__mmask16>(atLeast(units, 0x800) & written), lanes(0x8080E000));
        if constexpr (form != WideForm::ucs2) {
            marks = _mm512_mask_mov_epi32(marks, static_cast<__mmask16>(atLeast(units, 0x10000) & written),
                                          lanes(0x808080F0));
        }
        const __mmask64 own = _mm512_test_epi8_mask(marks, marks);
        const auto length = static_cast<std::ptrdiff_t>(_mm_popcnt_u64(own));
        if (end - to < length) {
            return 0;
        }
        // Six bits in each byte, the first ones first.
        const __m512i shifts = _mm512_set1_epi64(0x20262C32'00060C12);
        const __m512i sixes = _mm512_and_si512(_mm512_multishift_epi64_epi8(shifts, units), lanes(0x3F3F3F3F));
        const __m512i bytes = _mm512_mask_slli_epi32(_mm512_or_si512(sixes, marks), ascii, units, 24);
        _mm512_mask_storeu_epi8(to, _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(length)),
                                _mm512_maskz_compress_epi8(own, bytes));
        return length;
    }
};

}  // namespace

template <WideForm form, ByteOrder order, ControlCodes controls>
std::int32_t avx512Encode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                          std::uint8_t* destinationEnd) {
    if (Avx512Encoder<form, order, controls>::encode(source, sourceEnd, destination, destinationEnd)) {
        return 0;
    }
    return utfEncoder(form, order, controls, UtfInstructions::sse2)(source, sourceEnd, destination, destinationEnd);
}

#define QUORVANTI_ENCODER(form, order, controls)                                                  \
    template std::int32_t avx512Encode<WideForm::form, ByteOrder::order, ControlCodes::controls>( \
        const std::uint8_t*&, const std::uint8_t*, std::uint8_t*&, std::uint8_t*)
QUORVANTI_ENCODER(ucs2, native, allowed);
QUORVANTI_ENCODER(ucs2, native, refused);
QUORVANTI_ENCODER(ucs2, swapped, allowed);
QUORVANTI_ENCODER(ucs2, swapped, refused);
QUORVANTI_ENCODER(utf16, native, allowed);
QUORVANTI_ENCODER(utf16, native, refused);
QUORVANTI_ENCODER(utf16, swapped, allowed);
QUORVANTI_ENCODER(utf16, swapped, refused);
QUORVANTI_ENCODER(ucs4, native, allowed);
QUORVANTI_ENCODER(ucs4, native, refused);
QUORVANTI_ENCODER(ucs4, swapped, allowed);
QUORVANTI_ENCODER(ucs4, swapped, refused);
#undef QUORVANTI_ENCODER

}  // namespace quorvanti

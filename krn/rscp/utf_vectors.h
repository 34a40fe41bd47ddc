// Sixteen bytes at once: the vector operations that the UTF members are made of. SSE2 belongs to every x64 processor.
#pragma once

#include <emmintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quorvanti {

inline __m128i loadBytes(const std::uint8_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}
inline void storeBytes(std::uint8_t* to, __m128i bytes) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
}

// The last `count` bytes of the result are those before `end`; what stands before them does not count. Nothing before
// `begin` is read.
inline __m128i loadLast(const std::uint8_t* begin, const std::uint8_t* end, std::ptrdiff_t count) {
    if (end - begin >= 16) {
        return loadBytes(end - 16);
    }
    const std::uint8_t* const from = end - count;
    std::uint64_t upper = 0;
    std::uint64_t lower = 0;
    if (count >= 8) {
        std::memcpy(&upper, end - 8, 8);
        std::memcpy(&lower, from, 8);
        // In two shifts: one by all 64 bits would not be defined.
        lower = lower << 4 * (16 - count) << 4 * (16 - count);
    } else if (count >= 4) {
        std::uint32_t last;
        std::uint32_t first;
        std::memcpy(&last, end - 4, 4);
        std::memcpy(&first, from, 4);
        upper = std::uint64_t{last} << 32 | std::uint64_t{first} << 8 * (8 - count);
    } else {
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            upper = upper >> 8 | std::uint64_t{from[i]} << 56;
        }
    }
    return _mm_set_epi64x(static_cast<long long>(upper), static_cast<long long>(lower));
}

// All bits of the last `count` bytes of sixteen.
inline __m128i lastBytesMask(std::ptrdiff_t count) {
    alignas(16) static constexpr std::array<std::uint8_t, 32> kMask = {
        0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    return loadBytes(kMask.data() + count);
}

inline std::ptrdiff_t sumOfBytes(__m128i bytes) {
    const __m128i sums = _mm_sad_epu8(bytes, _mm_setzero_si128());
    return _mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_srli_si128(sums, 8));
}

inline __m128i blend(__m128i mask, __m128i chosen, __m128i other) {
    return _mm_or_si128(_mm_and_si128(mask, chosen), _mm_andnot_si128(mask, other));
}

inline __m128i swapBytes16(__m128i words) {
    return _mm_or_si128(_mm_slli_epi16(words, 8), _mm_srli_epi16(words, 8));
}
inline __m128i swapBytes32(__m128i words) {
    constexpr int kSwapped = _MM_SHUFFLE(2, 3, 0, 1);
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(swapBytes16(words), kSwapped), kSwapped);
}

}  // namespace quorvanti

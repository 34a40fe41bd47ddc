#include "sec/kavsecu/base64_blocks.h"

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace quorvanti {
namespace {

constexpr std::string_view kCommonCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

// A character is looked up by its two halves. Two of them never have both halves in common with one that is foreign:
// each high half has a bit, and each low half the bits of the high halves that it makes no character with.
struct HalfTables {
    alignas(16) std::array<std::uint8_t, 16> ofHigh{};
    alignas(16) std::array<std::uint8_t, 16> ofLow{};
    // From character to value, by the high half; the last of the alphabet has a place of its own, `kOwnPlace` further.
    alignas(16) std::array<std::uint8_t, 16> distances{};
    char of62 = 0;
    char of63 = 0;
};
constexpr std::uint8_t kOwnPlace = 8;

constexpr HalfTables makeTables(char of62, char of63) {
    HalfTables tables;
    tables.of62 = of62;
    tables.of63 = of63;
    for (std::size_t half = 0; half < 16; ++half) {
        tables.ofHigh[half] = static_cast<std::uint8_t>(half < 8 ? 1U << half : 1U);  // nothing has the first
        tables.ofLow[half] = 0xFF;
    }
    for (std::size_t value = 0; value < 64; ++value) {
        const char character = value < 62 ? kCommonCharacters[value] : value == 62 ? of62 : of63;
        const auto code = static_cast<std::uint8_t>(character);
        const std::size_t high = code >> 4;
        tables.ofLow[code & 0xF] = static_cast<std::uint8_t>(tables.ofLow[code & 0xF] & ~(1U << high));
        tables.distances[value == 63 ? high + kOwnPlace : high] = static_cast<std::uint8_t>(value - code);
    }
    return tables;
}

constexpr std::array<HalfTables, 2> kTables{makeTables('+', '/'), makeTables('-', '_')};

const HalfTables& tablesOf(Base64Alphabet alphabet) {
    return kTables[alphabet == Base64Alphabet::url ? 1 : 0];
}

// Groups of 24 bits lie in four bytes each, the lowest first.
constexpr std::array<std::int8_t, 16> kInOrder{2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1};

std::size_t mostBlocks(std::string_view text, std::span<std::uint8_t> output) {
    return std::min(text.size() / kBase64BlockText, output.size() / kBase64BlockBytes);
}

__m128i loaded(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

// --- With byte shuffles ---------------------------------------------------------------------------------------------

[[gnu::target("ssse3")]] std::size_t decodeByShuffles(Base64Alphabet alphabet, std::string_view text,
                                                      std::span<std::uint8_t> output) {
    const HalfTables& tables = tablesOf(alphabet);
    const __m128i ofHigh = loaded(tables.ofHigh.data());
    const __m128i ofLow = loaded(tables.ofLow.data());
    const __m128i distances = loaded(tables.distances.data());
    const __m128i of63 = _mm_set1_epi8(tables.of63);
    const __m128i half = _mm_set1_epi8(0xF);
    const __m128i inOrder = loaded(kInOrder.data());
    const std::size_t blocks = mostBlocks(text, output);
    const char* read = text.data();
    std::uint8_t* write = output.data();
    for (std::size_t block = 0; block < blocks; ++block) {
        const __m128i characters = loaded(read);
        const __m128i high = _mm_and_si128(_mm_srli_epi32(characters, 4), half);
        const __m128i low = _mm_and_si128(characters, half);
        const __m128i foreign = _mm_and_si128(_mm_shuffle_epi8(ofHigh, high), _mm_shuffle_epi8(ofLow, low));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(foreign, _mm_setzero_si128())) != 0xFFFF) {
            return block;
        }
        const __m128i own = _mm_and_si128(_mm_cmpeq_epi8(characters, of63), _mm_set1_epi8(kOwnPlace));
        const __m128i values = _mm_add_epi8(characters, _mm_shuffle_epi8(distances, _mm_or_si128(high, own)));
        // Pairs of values become 12 bits, pairs of those 24.
        const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi16(0x0140));
        const __m128i bytes = _mm_shuffle_epi8(_mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000)), inOrder);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(write), bytes);
        const int last = _mm_cvtsi128_si32(_mm_srli_si128(bytes, 8));
        std::memcpy(write + 8, &last, sizeof last);
        read += kBase64BlockText;
        write += kBase64BlockBytes;
    }
    return blocks;
}

// --- Two blocks at once ---------------------------------------------------------------------------------------------

[[gnu::target("avx2")]] std::size_t decodeByWideShuffles(Base64Alphabet alphabet, std::string_view text,
                                                         std::span<std::uint8_t> output) {
    const HalfTables& tables = tablesOf(alphabet);
    const __m256i ofHigh = _mm256_broadcastsi128_si256(loaded(tables.ofHigh.data()));
    const __m256i ofLow = _mm256_broadcastsi128_si256(loaded(tables.ofLow.data()));
    const __m256i distances = _mm256_broadcastsi128_si256(loaded(tables.distances.data()));
    const __m256i of63 = _mm256_set1_epi8(tables.of63);
    const __m256i half = _mm256_set1_epi8(0xF);
    const __m256i inOrder = _mm256_broadcastsi128_si256(loaded(kInOrder.data()));
    const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    const std::size_t most = mostBlocks(text, output);
    std::size_t blocks = 0;
    for (; blocks + 2 <= most; blocks += 2) {
        const auto* const read = reinterpret_cast<const __m256i*>(text.data() + blocks * kBase64BlockText);
        const __m256i characters = _mm256_loadu_si256(read);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), half);
        const __m256i low = _mm256_and_si256(characters, half);
        if (_mm256_testz_si256(_mm256_shuffle_epi8(ofHigh, high), _mm256_shuffle_epi8(ofLow, low)) == 0) {
            break;
        }
        const __m256i own = _mm256_and_si256(_mm256_cmpeq_epi8(characters, of63), _mm256_set1_epi8(kOwnPlace));
        const __m256i values = _mm256_add_epi8(characters, _mm256_shuffle_epi8(distances, _mm256_or_si256(high, own)));
        const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x0140));
        const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, inOrder), together);
        auto* const write = reinterpret_cast<__m128i*>(output.data() + blocks * kBase64BlockBytes);
        _mm_storeu_si128(write, _mm256_castsi256_si128(bytes));
        _mm_storel_epi64(write + 1, _mm256_extracti128_si256(bytes, 1));
    }
    // One is left, or finds out which one is none.
    return blocks + decodeByShuffles(alphabet, text.substr(blocks * kBase64BlockText),
                                     output.subspan(blocks * kBase64BlockBytes));
}

// --- With what every processor of the kind has ----------------------------------------------------------------------

bool decodeByComparisons(const HalfTables& tables, const char* text, std::uint8_t* output) {
    const __m128i characters = loaded(text);
    const auto between = [characters](char first, char last) {
        return _mm_and_si128(_mm_cmpgt_epi8(characters, _mm_set1_epi8(static_cast<char>(first - 1))),
                             _mm_cmplt_epi8(characters, _mm_set1_epi8(static_cast<char>(last + 1))));
    };
    const __m128i upper = between('A', 'Z');
    const __m128i lower = between('a', 'z');
    const __m128i digit = between('0', '9');
    const __m128i of62 = _mm_cmpeq_epi8(characters, _mm_set1_epi8(tables.of62));
    const __m128i of63 = _mm_cmpeq_epi8(characters, _mm_set1_epi8(tables.of63));
    const __m128i known = _mm_or_si128(_mm_or_si128(upper, lower), _mm_or_si128(digit, _mm_or_si128(of62, of63)));
    if (_mm_movemask_epi8(known) != 0xFFFF) {
        return false;
    }
    const auto distance = [](__m128i chosen, int value, char first) {
        return _mm_and_si128(chosen, _mm_set1_epi8(static_cast<char>(value - first)));
    };
    const __m128i letters = _mm_or_si128(distance(upper, 0, 'A'), distance(lower, 26, 'a'));
    const __m128i others = _mm_or_si128(distance(digit, 52, '0'),
                                        _mm_or_si128(distance(of62, 62, tables.of62), distance(of63, 63, tables.of63)));
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
        std::memcpy(to, &sixBytes, kBase64BlockBytes / 2);
    };
    store(_mm_cvtsi128_si64(bytes), output);
    store(_mm_cvtsi128_si64(_mm_unpackhi_epi64(bytes, bytes)), output + kBase64BlockBytes / 2);
    return true;
}

std::size_t decodeByComparisons(Base64Alphabet alphabet, std::string_view text, std::span<std::uint8_t> output) {
    const std::size_t blocks = mostBlocks(text, output);
    std::size_t block = 0;
    while (block < blocks && decodeByComparisons(tablesOf(alphabet), text.data() + block * kBase64BlockText,
                                                 output.data() + block * kBase64BlockBytes)) {
        ++block;
    }
    return block;
}

bool hasWideShuffles() {
#ifdef QUORVANTI_WIDE_VECTORS
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

bool hasShuffles() {
    return __builtin_cpu_supports("ssse3") != 0;
}

}  // namespace

std::size_t decodeBase64Blocks(Base64Alphabet alphabet, std::string_view text, std::span<std::uint8_t> output) {
    if (hasWideShuffles()) {
        return decodeByWideShuffles(alphabet, text, output);
    }
    return hasShuffles() ? decodeByShuffles(alphabet, text, output) : decodeByComparisons(alphabet, text, output);
}

std::span<const Base64BlockDecoder> base64BlockDecoders() {
    static const std::array<Base64BlockDecoder, 3> decoders{{
        {"wide shuffles", hasWideShuffles(), &decodeByWideShuffles},
        {"shuffles", hasShuffles(), &decodeByShuffles},
        {"comparisons", true, &decodeByComparisons},
    }};
    return decoders;
}

}  // namespace quorvanti

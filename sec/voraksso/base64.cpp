#include "sec/voraksso/base64.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace quorvanti {
namespace {

// 64 characters and, as the 65th, the padding.
constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
constexpr std::uint8_t kPadding = 64;
constexpr std::uint8_t kForeign = 0xFF;

constexpr std::array<std::uint8_t, 256> kValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(kForeign);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
        values[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    }
    return values;
}();

std::uint8_t valueOf(char c) {
    return kValues[static_cast<std::uint8_t>(c)];
}

__m128i between(__m128i text, char first, char last) {
    return _mm_and_si128(_mm_cmpgt_epi8(text, _mm_set1_epi8(static_cast<char>(first - 1))),
                         _mm_cmplt_epi8(text, _mm_set1_epi8(static_cast<char>(last + 1))));
}

constexpr std::size_t kBlockText = 16;
constexpr std::size_t kBlockBytes = 12;
// Two bytes too many are written; a text of this length has room for them, padding and all.
constexpr std::size_t kBlockTextWithMargin = 24;

// Sixteen plain characters at once; false, and nothing done, when one of them is in any way special.
bool decodeBlock(const char* text, std::uint8_t* output) {
    const __m128i characters = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i upper = between(characters, 'A', 'Z');
    const __m128i lower = between(characters, 'a', 'z');
    const __m128i digit = between(characters, '0', '9');
    const __m128i plus = _mm_cmpeq_epi8(characters, _mm_set1_epi8('+'));
    const __m128i slash = _mm_cmpeq_epi8(characters, _mm_set1_epi8('/'));
    const __m128i plain = _mm_or_si128(_mm_or_si128(upper, lower), _mm_or_si128(digit, _mm_or_si128(plus, slash)));
    if (_mm_movemask_epi8(plain) != 0xFFFF) {
        return false;
    }
    const auto distance = [](__m128i chosen, int value, char first) {
        return _mm_and_si128(chosen, _mm_set1_epi8(static_cast<char>(value - first)));
    };
    const __m128i letters = _mm_or_si128(distance(upper, 0, 'A'), distance(lower, 26, 'a'));
    const __m128i others =
        _mm_or_si128(distance(digit, 52, '0'), _mm_or_si128(distance(plus, 62, '+'), distance(slash, 63, '/')));
    const __m128i values = _mm_add_epi8(characters, _mm_or_si128(letters, others));
    // Pairs of values become 12 bits, pairs of those 24.
    const __m128i pairs =
        _mm_or_si128(_mm_slli_epi16(_mm_and_si128(values, _mm_set1_epi16(0xFF)), 6), _mm_srli_epi16(values, 8));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    const __m128i bytes =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi32(groups, 16), _mm_and_si128(groups, _mm_set1_epi32(0xFF00))),
                     _mm_slli_epi32(_mm_and_si128(groups, _mm_set1_epi32(0xFF)), 16));
    const auto store = [](std::uint64_t twoGroups, std::uint8_t* to) {
        const std::uint64_t sixBytes = (twoGroups & 0xFFFFFF) | twoGroups >> 32 << 24;
        std::memcpy(to, &sixBytes, sizeof sixBytes);
    };
    store(static_cast<std::uint64_t>(_mm_cvtsi128_si64(bytes)), output);
    store(static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(bytes, bytes))), output + kBlockBytes / 2);
    return true;
}

}  // namespace

std::uint32_t DecodeB64len(std::string_view text) {
    const std::size_t length = text.size();
    if (length < 4) {
        return 0;
    }
    std::size_t padding = 0;
    if (text[length - 1] == '=') {
        padding = text[length - 2] == '=' ? 2 : 1;
    }
    return static_cast<std::uint32_t>(length - length / 4 - padding);
}

std::int32_t Decodeb64(std::string_view text, std::span<std::uint8_t> output, std::uint32_t* decodedLength) {
    if (text.size() < 4) {
        return kBase64TooShort;
    }
    if (decodedLength == nullptr) {
        return kBase64NoLength;
    }
    *decodedLength = DecodeB64len(text);

    std::size_t read = 0;
    std::size_t written = 0;
    // Plain characters in blocks, then in groups; whatever is in any way special is left to the loop below.
    while (text.size() - read >= kBlockTextWithMargin && decodeBlock(text.data() + read, output.data() + written)) {
        read += kBlockText;
        written += kBlockBytes;
    }
    for (; text.size() - read >= 4; read += 4, written += 3) {
        const std::uint8_t a = valueOf(text[read]);
        const std::uint8_t b = valueOf(text[read + 1]);
        const std::uint8_t c = valueOf(text[read + 2]);
        const std::uint8_t d = valueOf(text[read + 3]);
        if ((a | b | c | d) >= kPadding) {
            break;
        }
        output[written] = static_cast<std::uint8_t>(a << 2 | b >> 4);
        output[written + 1] = static_cast<std::uint8_t>(b << 4 | c >> 2);
        output[written + 2] = static_cast<std::uint8_t>(c << 6 | d);
    }
    std::uint32_t bits = 0;
    std::int32_t code = 0;
    for (unsigned held = 0; read < text.size(); ++read) {
        const std::uint8_t value = valueOf(text[read]);
        if (value == kForeign) {
            code = kBase64ForeignCharacter;
            break;
        }
        if (value == kPadding) {
            break;
        }
        bits = bits << 6 | value;
        held += 6;
        if (held >= 8) {
            held -= 8;
            if (written < *decodedLength) {
                output[written++] = static_cast<std::uint8_t>(bits >> held);
            }
        }
    }
    if (written < *decodedLength) {
        std::memset(output.data() + written, 0, *decodedLength - written);
    }
    return code;
}

std::uint32_t decodeLenientBase64(std::string_view text, std::span<std::uint8_t> output) {
    std::uint32_t bits = 0;
    unsigned held = 0;
    std::size_t written = 0;
    for (const char c : text) {
        const std::uint8_t value = valueOf(c);
        if (value == kPadding || written == output.size()) {
            break;
        }
        if (value == kForeign) {
            continue;
        }
        bits = bits << 6 | value;
        held += 6;
        if (held >= 8) {
            held -= 8;
            output[written++] = static_cast<std::uint8_t>(bits >> held);
        }
    }
    return static_cast<std::uint32_t>(written);
}

std::int32_t EncodeB64(std::span<std::uint8_t> buffer, std::uint32_t count, std::uint32_t* textLength) {
    if (buffer.size() < 4) {
        return 1;
    }
    if (count == 0 || count > buffer.size()) {
        return 2;
    }
    const std::size_t length = (std::size_t{count} + 2) / 3 * 4;
    if (length > buffer.size()) {
        return kBase64NoRoom;
    }
    // The bytes move to the end, so that the text never overtakes what it is made from.
    std::size_t read = buffer.size() - count;
    std::memmove(buffer.data() + read, buffer.data(), count);
    std::size_t written = 0;
    while (read < buffer.size()) {
        const std::size_t group = std::min<std::size_t>(3, buffer.size() - read);
        const std::uint32_t bits = static_cast<std::uint32_t>(buffer[read] << 16) |
                                   static_cast<std::uint32_t>(group > 1 ? buffer[read + 1] << 8 : 0) |
                                   static_cast<std::uint32_t>(group > 2 ? buffer[read + 2] : 0);
        read += group;
        for (std::size_t i = 0; i < 4; ++i) {
            const char c = i <= group ? kAlphabet[bits >> (18 - 6 * i) & 0x3F] : '=';
            buffer[written++] = static_cast<std::uint8_t>(c);
        }
    }
    *textLength = static_cast<std::uint32_t>(length);
    return 0;
}

}  // namespace quorvanti

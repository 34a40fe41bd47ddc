#include "sec/voraksso/base64.h"

#include "sec/kavsecu/base64_blocks.h"

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

    // Plain characters in blocks, then in groups; whatever is in any way special is left to the loop below.
    const std::size_t blocks = decodeBase64Blocks(Base64Alphabet::standard, text, output);
    std::size_t read = blocks * kBase64BlockText;
    std::size_t written = blocks * kBase64BlockBytes;
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
    for (; buffer.size() - read >= 3; read += 3) {
        const auto bits = static_cast<std::uint32_t>(buffer[read] << 16 | buffer[read + 1] << 8 | buffer[read + 2]);
        for (const int place : {18, 12, 6, 0}) {
            buffer[written++] = static_cast<std::uint8_t>(kAlphabet[bits >> place & 0x3F]);
        }
    }
    if (const std::size_t rest = buffer.size() - read; rest > 0) {
        const auto bits = static_cast<std::uint32_t>(buffer[read] << 16) |
                          static_cast<std::uint32_t>(rest > 1 ? buffer[read + 1] << 8 : 0);
        for (std::size_t i = 0; i < 4; ++i) {
            const char c = i <= rest ? kAlphabet[bits >> (18 - 6 * i) & 0x3F] : '=';
            buffer[written++] = static_cast<std::uint8_t>(c);
        }
    }
    *textLength = static_cast<std::uint32_t>(length);
    return 0;
}

}  // namespace quorvanti

#include "sec/jwt/base64url.h"

#include "sec/kavsecu/base64_blocks.h"

#include <array>

namespace quorvanti {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr std::uint32_t kForeign = 0x80;  // outside the six bits of a value

constexpr std::array<std::uint8_t, 256> makeValues() {
    std::array<std::uint8_t, 256> values{};
    values.fill(kForeign);
    for (std::size_t value = 0; value < kAlphabet.size(); ++value) {
        values[static_cast<unsigned char>(kAlphabet[value])] = static_cast<std::uint8_t>(value);
    }
    return values;
}

constexpr std::array<std::uint8_t, 256> kValues = makeValues();

std::uint32_t valueOf(char c) {
    return kValues[static_cast<unsigned char>(c)];
}

// The last two or three characters of a text, which make one or two bytes. The number of bytes, 0 when they do not.
std::size_t decodeRemainder(std::string_view text, std::span<std::uint8_t> out) {
    const std::uint32_t first = valueOf(text[0]);
    const std::uint32_t second = valueOf(text[1]);
    const std::uint32_t third = text.size() == 3 ? valueOf(text[2]) : 0;
    const std::uint32_t bits = first << 12 | second << 6 | third;
    const std::uint32_t leftOver = text.size() == 3 ? 0x3U : 0x3FFU;
    if (((first | second | third) & kForeign) != 0 || (bits & leftOver) != 0) {
        return 0;
    }
    out[0] = static_cast<std::uint8_t>(bits >> 10);
    if (text.size() == 3) {
        out[1] = static_cast<std::uint8_t>(bits >> 2);
    }
    return text.size() - 1;
}

}  // namespace

std::optional<std::size_t> decodeBase64Url(std::string_view text, std::span<std::uint8_t> out) {
    const std::size_t remainder = text.size() % 4;
    if (remainder == 1 || out.size() < base64UrlRoom(text.size())) {
        return std::nullopt;
    }
    const std::size_t groups = text.size() - remainder;
    std::size_t position = 0;
    std::uint32_t seen = 0;
    if (groups >= kBase64BlockText) {
        const std::size_t blocks = decodeBase64Blocks(Base64Alphabet::url, text.substr(0, groups), out);
        if (blocks != groups / kBase64BlockText) {
            return std::nullopt;
        }
        // What is less than a block is decoded as the end of one that reaches back.
        const std::size_t last = groups - kBase64BlockText;
        if (groups % kBase64BlockText != 0 &&
            decodeBase64Blocks(Base64Alphabet::url, text.substr(last, kBase64BlockText), out.subspan(last / 4 * 3)) !=
                1) {
            return std::nullopt;
        }
        position = groups;
    }
    std::size_t written = position / 4 * 3;
    for (; position + 4 <= text.size(); position += 4, written += 3) {
        const std::uint32_t first = valueOf(text[position]);
        const std::uint32_t second = valueOf(text[position + 1]);
        const std::uint32_t third = valueOf(text[position + 2]);
        const std::uint32_t fourth = valueOf(text[position + 3]);
        const std::uint32_t bits = first << 18 | second << 12 | third << 6 | fourth;
        seen |= first | second | third | fourth;
        out[written] = static_cast<std::uint8_t>(bits >> 16);
        out[written + 1] = static_cast<std::uint8_t>(bits >> 8);
        out[written + 2] = static_cast<std::uint8_t>(bits);
    }
    if ((seen & kForeign) != 0) {
        return std::nullopt;
    }
    if (remainder != 0) {
        const std::size_t bytes = decodeRemainder(text.substr(position), out.subspan(written));
        if (bytes == 0) {
            return std::nullopt;
        }
        written += bytes;
    }
    return written;
}

}  // namespace quorvanti

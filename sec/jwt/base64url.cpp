#include "sec/jwt/base64url.h"

#include "sec/kavsecu/base64_block.h"

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
    std::size_t written = 0;
    std::size_t position = 0;
    std::uint32_t seen = 0;
    while (text.size() - position >= kBase64BlockText &&
           out.size() - written >= kBase64BlockBytes + kBase64BlockMargin) {
        if (!decodeBase64Block<'-', '_'>(text.data() + position, out.data() + written)) {
            return std::nullopt;
        }
        position += kBase64BlockText;
        written += kBase64BlockBytes;
    }
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

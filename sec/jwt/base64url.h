// Decodes the base64url form that tokens use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quorvanti {

// The most bytes that a text of this length decodes to, and the exact number for a text that can be decoded.
constexpr std::size_t base64UrlRoom(std::size_t textLength) {
    return textLength / 4 * 3 + textLength % 4 * 3 / 4;
}

// The number of bytes, at most base64UrlRoom(text.size()), which `out` must have room for. Nothing for any other
// spelling than the one an encoder makes: no padding, no white space, no byte outside the alphabet, no bit left over
// that is not zero. So two different texts never decode to the same bytes.
std::optional<std::size_t> decodeBase64Url(std::string_view text, std::span<std::uint8_t> out);

}  // namespace quorvanti

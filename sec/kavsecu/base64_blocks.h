// Blocks of sixteen base64 characters, decoded by the best instructions that the processor has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

inline constexpr std::size_t kBase64BlockText = 16;
inline constexpr std::size_t kBase64BlockBytes = 12;

enum class Base64Alphabet { standard, url };  // the last two characters are "+" and "/", or "-" and "_"

// Decodes block after block, as far as the text and the room go, up to the first one with a character outside of the
// alphabet. The number of blocks; nothing is written but their bytes.
std::size_t decodeBase64Blocks(Base64Alphabet alphabet, std::string_view text, std::span<std::uint8_t> output);

// All ways to do it, the best first. They differ in speed only.
struct Base64BlockDecoder {
    const char* name;
    bool usable;  // on this processor
    std::size_t (*decode)(Base64Alphabet alphabet, std::string_view text, std::span<std::uint8_t> output);
};
std::span<const Base64BlockDecoder> base64BlockDecoders();

}  // namespace quorvanti

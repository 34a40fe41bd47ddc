// Base64 as tickets use it: the alphabet of RFC 4648 section 4, one line, nothing skipped.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

inline constexpr std::int32_t kBase64TooShort = 1;
inline constexpr std::int32_t kBase64NoLength = 2;
inline constexpr std::int32_t kBase64ForeignCharacter = 3;
inline constexpr std::int32_t kBase64NoRoom = 3;

// The decoded length that the parser is given, also for a text whose length is no multiple of four: tickets in the
// field rely on the rule as it stands. 0 for a text shorter than four characters.
std::uint32_t DecodeB64len(std::string_view text);

// Decodes up to the first "=" or the end of the text. `output` holds at least DecodeB64len bytes; those the text does
// not fill are zero. It may be the text's own memory. 0, or 1 (text shorter than four characters), 2 (no place for the
// length), 3 (a character outside the alphabet).
std::int32_t Decodeb64(std::string_view text, std::span<std::uint8_t> output, std::uint32_t* decodedLength);

// Decodes a key as people paste it: everything outside the alphabet is skipped, "=" ends it, a final group of two or
// three characters gives one or two bytes. Writes no more than fits and returns how much that is.
std::uint32_t decodeLenientBase64(std::string_view text, std::span<std::uint8_t> output);

// Replaces `count` bytes at the start of the buffer by their text, not terminated. 0, or 1 (a buffer below four
// bytes), 2 (no bytes, or more than the buffer holds), 3 (the text does not fit).
std::int32_t EncodeB64(std::span<std::uint8_t> buffer, std::uint32_t count, std::uint32_t* textLength);

}  // namespace quorvanti

// Reads a JSON text into a flat list of tokens, in the order in which they begin. Works in place and in linear time;
// nothing is unescaped, nothing is allocated, and nesting costs a token, not stack.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

enum class JsonType : std::uint8_t { object = 1, array = 2, string = 3, primitive = 4 };

struct JsonToken {
    JsonType type;
    std::uint32_t start;     // a string's without its quotation mark, a container's with its bracket
    std::uint32_t end;       // behind the last byte
    std::uint32_t children;  // an object's names, an array's elements; 1 for a name, which has its value
    std::int32_t parent;     // position in the list; a value's is its name; -1 for the outermost

    std::string_view text(std::string_view of) const { return of.substr(start, end - start); }
};

inline constexpr std::int32_t kJsonNoRoom = -1;
inline constexpr std::int32_t kJsonMalformed = -2;

// The number of tokens; negative when the text is not one JSON value (white space around it aside), or when there
// is too little room for it. Bytes from 128 on are taken as they are inside strings.
std::int32_t jsonTokenize(std::string_view text, std::span<JsonToken> room);

}  // namespace quorvanti

#include "sec/jwt/json_tokens.h"

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <limits>

namespace quorvanti {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isWhiteSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

// --- Strings are most of a text: sixteen bytes at a time -----------------------------------------------------------

bool isPlain(char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\';
}

// A bit for each of sixteen bytes that is not plain.
unsigned notPlain(const char* text) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
    const __m128i ends = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i escapes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(ends, escapes))));
}

// Where the bytes end that a string holds as they are.
std::size_t plainEnd(std::string_view text, std::size_t position) {
    constexpr std::size_t block = sizeof(__m128i);
    for (; position + block <= text.size(); position += block) {
        if (const unsigned found = notPlain(text.data() + position); found != 0) {
            return position + static_cast<std::size_t>(std::countr_zero(found));
        }
    }
    while (position < text.size() && isPlain(text[position])) {
        ++position;
    }
    return position;
}

// --- Where things end: behind their last byte, or nowhere -----------------------------------------------------------

constexpr std::size_t kNowhere = std::string_view::npos;

std::size_t skipWhiteSpace(std::string_view text, std::size_t position) {
    while (position < text.size() && isWhiteSpace(text[position])) {
        ++position;
    }
    return position;
}

// From a reverse solidus to behind what it introduces.
std::size_t escapeEnd(std::string_view text, std::size_t position) {
    if (++position >= text.size()) {
        return kNowhere;
    }
    if (text[position] != 'u') {
        return std::string_view("\"\\/bfnrt").find(text[position]) != std::string_view::npos ? position + 1 : kNowhere;
    }
    for (int digit = 0; digit < 4; ++digit) {
        if (++position >= text.size() || !isHexDigit(text[position])) {
            return kNowhere;
        }
    }
    return position + 1;
}

// From behind the first quotation mark to the last one.
std::size_t stringEnd(std::string_view text, std::size_t position) {
    for (;;) {
        position = plainEnd(text, position);
        if (position >= text.size() || static_cast<unsigned char>(text[position]) < 0x20) {
            return kNowhere;
        }
        if (text[position] == '"') {
            return position;
        }
        position = escapeEnd(text, position);
        if (position == kNowhere) {
            return kNowhere;
        }
    }
}

std::size_t digitsEnd(std::string_view text, std::size_t position) {
    const std::size_t start = position;
    while (position < text.size() && isDigit(text[position])) {
        ++position;
    }
    return position > start ? position : kNowhere;
}

std::size_t skip(std::string_view text, std::size_t position, char c) {
    return position < text.size() && text[position] == c ? position + 1 : position;
}

std::size_t skip(std::string_view text, std::size_t position, char c, char other) {
    const std::size_t next = skip(text, position, c);
    return next != position ? next : skip(text, position, other);
}

std::size_t numberEnd(std::string_view text, std::size_t position) {
    position = skip(text, position, '-');
    const std::size_t zero = skip(text, position, '0');
    position = zero != position ? zero : digitsEnd(text, position);
    if (const std::size_t point = skip(text, position, '.'); point != position) {
        position = digitsEnd(text, point);
    }
    if (const std::size_t exponent = skip(text, position, 'e', 'E'); exponent != position) {
        position = digitsEnd(text, skip(text, exponent, '+', '-'));
    }
    return position;
}

std::size_t literalEnd(std::string_view text, std::size_t position) {
    for (const std::string_view word :
         {std::string_view("true"), std::string_view("false"), std::string_view("null")}) {
        if (text.substr(position, word.size()) == word) {
            return position + word.size();
        }
    }
    return kNowhere;
}

// --- The tokens -----------------------------------------------------------------------------------------------------

// What may stand next, apart from white space.
enum class Expected { value, valueOrEnd, name, nameOrEnd, commaOrEnd, nothing };

bool mayEnd(Expected expected) {
    return expected == Expected::commaOrEnd || expected == Expected::valueOrEnd || expected == Expected::nameOrEnd;
}

// Name or value at the position: its token, and where the text goes on; nowhere when it is neither.
std::size_t readToken(std::string_view text, std::size_t position, bool isName, JsonToken& token) {
    const char c = text[position];
    std::size_t start = position;
    std::size_t end = position;
    std::size_t next = position + 1;
    if (c == '"') {
        token.type = JsonType::string;
        start = next;
        end = stringEnd(text, start);
        next = end != kNowhere ? end + 1 : kNowhere;
    } else if (isName) {
        next = kNowhere;
    } else if (c == '{' || c == '[') {
        token.type = c == '{' ? JsonType::object : JsonType::array;
    } else {
        token.type = JsonType::primitive;
        end = c == '-' || isDigit(c) ? numberEnd(text, position) : literalEnd(text, position);
        next = end;
    }
    token.start = static_cast<std::uint32_t>(start);
    token.end = static_cast<std::uint32_t>(end);
    token.children = 0;
    return next;
}

}  // namespace

std::int32_t jsonTokenize(std::string_view text, std::span<JsonToken> tokens) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return kJsonMalformed;
    }
    Expected expected = Expected::value;
    std::int32_t count = 0;
    std::int32_t parent = -1;  // what the next token belongs to: a container, or a name that waits for its value
    const auto at = [tokens](std::int32_t position) -> JsonToken& {
        return tokens[static_cast<std::size_t>(position)];
    };
    // Leaves the name, if the value had one, for its object.
    const auto valueIsComplete = [&] {
        if (parent >= 0 && at(parent).type == JsonType::string) {
            parent = at(parent).parent;
        }
        expected = parent >= 0 ? Expected::commaOrEnd : Expected::nothing;
    };
    for (std::size_t position = skipWhiteSpace(text, 0); position < text.size();
         position = skipWhiteSpace(text, position)) {
        const char c = text[position];
        if (mayEnd(expected) && (c == '}' || c == ']')) {  // the innermost open container is the parent
            JsonToken& container = at(parent);
            if (c != (container.type == JsonType::object ? '}' : ']')) {
                return kJsonMalformed;
            }
            container.end = static_cast<std::uint32_t>(++position);
            parent = container.parent;
            valueIsComplete();
        } else if (expected == Expected::commaOrEnd) {
            if (c != ',') {
                return kJsonMalformed;
            }
            ++position;
            expected = at(parent).type == JsonType::object ? Expected::name : Expected::value;
        } else {
            const bool isName = expected == Expected::name || expected == Expected::nameOrEnd;
            if (expected == Expected::nothing) {
                return kJsonMalformed;
            }
            JsonToken token;
            position = readToken(text, position, isName, token);
            if (position == kNowhere) {
                return kJsonMalformed;
            }
            if (static_cast<std::size_t>(count) >= tokens.size()) {
                return kJsonNoRoom;
            }
            token.parent = parent;
            at(count) = token;
            if (parent >= 0) {
                ++at(parent).children;
            }
            if (isName) {
                position = skipWhiteSpace(text, position);
                if (position >= text.size() || text[position] != ':') {
                    return kJsonMalformed;
                }
                ++position;
                parent = count;
                expected = Expected::value;
            } else if (c == '{' || c == '[') {
                parent = count;
                expected = c == '{' ? Expected::nameOrEnd : Expected::valueOrEnd;
            } else {
                valueIsComplete();
            }
            ++count;
        }
    }
    return expected == Expected::nothing ? count : kJsonMalformed;
}

}  // namespace quorvanti

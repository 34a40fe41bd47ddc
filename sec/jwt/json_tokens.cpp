#include "sec/jwt/json_tokens.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
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

// --- Strings are most of a text: what ends them is looked for in sixty-four bytes at a time --------------------------

constexpr std::size_t kWindow = 64;

// A bit for each of sixteen bytes that a string does not hold as it is.
std::uint64_t specialIn(const char* text) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
    const __m128i ends = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i escapes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(ends, escapes))));
}

// The bytes that a string does not hold as they are: quotation marks, reverse solidi and control characters.
class SpecialBytes {
public:
    explicit SpecialBytes(std::string_view text) : text_(text) {}

    // The first one from the position on; the end of the text when there is none.
    std::size_t from(std::size_t position) {
        for (; position < text_.size(); position = window_ + kWindow) {
            if (position - window_ >= kWindow) {
                look(position - position % kWindow);
            }
            if (const std::uint64_t found = special_ >> (position % kWindow); found != 0) {
                return position + static_cast<std::size_t>(std::countr_zero(found));
            }
        }
        return text_.size();
    }

private:
    [[gnu::noinline]] void look(std::size_t window) {
        const char* bytes = text_.data() + window;
        char last[kWindow];
        if (text_.size() - window < kWindow) {  // a control character stands behind the text then
            std::memset(last, 0, sizeof last);
            std::memcpy(last, bytes, text_.size() - window);
            bytes = last;
        }
        special_ =
            specialIn(bytes) | specialIn(bytes + 16) << 16 | specialIn(bytes + 32) << 32 | specialIn(bytes + 48) << 48;
        window_ = window;
    }

    std::string_view text_;
    std::size_t window_ = std::string_view::npos - kWindow;
    std::uint64_t special_ = 0;  // a bit for each byte of the window
};

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

// Goes on where a byte stands that may be no quotation mark.
[[gnu::noinline]] std::size_t escapedStringEnd(std::string_view text, SpecialBytes& special, std::size_t position) {
    while (position < text.size() && text[position] != '"') {
        if (text[position] != '\\' || (position = escapeEnd(text, position)) == kNowhere) {
            return kNowhere;
        }
        position = special.from(position);
    }
    return position < text.size() ? position : kNowhere;
}

// From behind the first quotation mark to the last one.
std::size_t stringEnd(std::string_view text, SpecialBytes& special, std::size_t position) {
    position = special.from(position);
    return position < text.size() && text[position] == '"' ? position : escapedStringEnd(text, special, position);
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

constexpr std::int32_t kNoParent = -1;

// The list of tokens while it grows.
class TokenList {
public:
    explicit TokenList(std::span<JsonToken> room) : room_(room) {}

    std::int32_t size() const { return size_; }
    JsonToken& operator[](std::int32_t position) { return room_[static_cast<std::size_t>(position)]; }

    bool add(JsonType type, std::size_t start, std::size_t end, std::uint32_t children, std::int32_t parent) {
        if (static_cast<std::size_t>(size_) >= room_.size()) {
            return false;
        }
        (*this)[size_++] = {type, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end), children, parent};
        return true;
    }

    // The container around this one, past the name that it may be the value of.
    std::int32_t containerOf(std::int32_t position) {
        const std::int32_t parent = (*this)[position].parent;
        return parent != kNoParent && (*this)[parent].type == JsonType::string ? (*this)[parent].parent : parent;
    }

private:
    std::span<JsonToken> room_;
    std::int32_t size_ = 0;
};

bool isAt(std::string_view text, std::size_t position, char c) {
    return position < text.size() && text[position] == c;
}

}  // namespace

std::int32_t jsonTokenize(std::string_view text, std::span<JsonToken> room) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return kJsonMalformed;
    }
    TokenList tokens(room);
    SpecialBytes special(text);
    std::int32_t container = kNoParent;  // the innermost one that is open
    char closing = '\0';                 // what ends it
    for (std::size_t position = skipWhiteSpace(text, 0);;) {
        std::int32_t parent = container;
        if (closing == '}') {
            const std::size_t start = position + 1;
            const std::size_t end = isAt(text, position, '"') ? stringEnd(text, special, start) : kNowhere;
            if (end == kNowhere) {
                return kJsonMalformed;
            }
            parent = tokens.size();
            if (!tokens.add(JsonType::string, start, end, 1, container)) {
                return kJsonNoRoom;
            }
            position = skipWhiteSpace(text, end + 1);
            if (!isAt(text, position, ':')) {
                return kJsonMalformed;
            }
            position = skipWhiteSpace(text, position + 1);
        }
        if (position >= text.size()) {
            return kJsonMalformed;
        }
        const char first = text[position];
        std::size_t start = position;
        std::size_t end = position;
        JsonType type = JsonType::string;
        if (first == '"') {
            end = stringEnd(text, special, ++start);
            position = end + 1;
        } else if (first == '{' || first == '[') {
            type = first == '{' ? JsonType::object : JsonType::array;
            ++position;
        } else {
            type = JsonType::primitive;
            end = first == '-' || isDigit(first) ? numberEnd(text, start) : literalEnd(text, start);
            position = end;
        }
        if (end == kNowhere) {
            return kJsonMalformed;
        }
        if (!tokens.add(type, start, end, 0, parent)) {
            return kJsonNoRoom;
        }
        if (container != kNoParent) {
            ++tokens[container].children;
        }
        position = skipWhiteSpace(text, position);
        if (type <= JsonType::array) {
            container = tokens.size() - 1;
            closing = type == JsonType::object ? '}' : ']';
            if (!isAt(text, position, closing)) {
                continue;
            }
        }
        // Behind a value: the next one, or the ends of containers.
        while (container != kNoParent && isAt(text, position, closing)) {
            tokens[container].end = static_cast<std::uint32_t>(++position);
            container = tokens.containerOf(container);
            closing = container == kNoParent ? '\0' : tokens[container].type == JsonType::object ? '}' : ']';
            position = skipWhiteSpace(text, position);
        }
        if (container == kNoParent) {
            return position == text.size() ? tokens.size() : kJsonMalformed;
        }
        if (!isAt(text, position, ',')) {
            return kJsonMalformed;
        }
        position = skipWhiteSpace(text, position + 1);
    }
}

}  // namespace quorvanti

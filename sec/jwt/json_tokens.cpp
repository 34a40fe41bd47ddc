#include "sec/jwt/json_tokens.h"

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

class Tokenizer {
public:
    Tokenizer(std::string_view text, std::span<JsonToken> tokens) : text_(text), tokens_(tokens) {}

    std::int32_t run() {
        for (skipWhiteSpace(); position_ < text_.size(); skipWhiteSpace()) {
            if (const std::int32_t failure = step(text_[position_]); failure != 0) {
                return failure;
            }
        }
        return expected_ == Expected::nothing ? count_ : kJsonMalformed;
    }

private:
    // What may stand next, apart from white space.
    enum class Expected { value, valueOrEnd, name, nameOrEnd, colon, commaOrEnd, nothing };

    std::int32_t step(char c) {
        switch (expected_) {
            case Expected::valueOrEnd:
                return c == ']' ? close(c) : value(c);
            case Expected::value:
                return value(c);
            case Expected::nameOrEnd:
                return c == '}' ? close(c) : name(c);
            case Expected::name:
                return name(c);
            case Expected::colon:
                ++position_;
                expected_ = Expected::value;
                return c == ':' ? 0 : kJsonMalformed;
            case Expected::commaOrEnd:
                return c == ',' ? comma() : close(c);
            case Expected::nothing:
                break;
        }
        return kJsonMalformed;
    }

    std::int32_t value(char c) {
        if (c == '{' || c == '[') {
            return open(c);
        }
        const std::size_t start = c == '"' ? position_ + 1 : position_;
        const bool whole = c == '"' ? string() : (c == '-' || isDigit(c)) ? number() : literal();
        if (!whole) {
            return kJsonMalformed;
        }
        const std::size_t end = c == '"' ? position_ - 1 : position_;
        if (!add(c == '"' ? JsonType::string : JsonType::primitive, start, end)) {
            return kJsonNoRoom;
        }
        valueIsComplete();
        return 0;
    }

    std::int32_t open(char c) {
        if (!add(c == '{' ? JsonType::object : JsonType::array, position_, position_)) {
            return kJsonNoRoom;
        }
        parent_ = count_ - 1;
        ++position_;
        expected_ = c == '{' ? Expected::nameOrEnd : Expected::valueOrEnd;
        return 0;
    }

    std::int32_t name(char c) {
        const std::size_t start = position_ + 1;
        if (c != '"' || !string()) {
            return kJsonMalformed;
        }
        if (!add(JsonType::string, start, position_ - 1)) {
            return kJsonNoRoom;
        }
        parent_ = count_ - 1;
        expected_ = Expected::colon;
        return 0;
    }

    std::int32_t comma() {
        ++position_;
        expected_ = at(parent_).type == JsonType::object ? Expected::name : Expected::value;
        return 0;
    }

    // The innermost open container is the parent here.
    std::int32_t close(char c) {
        JsonToken& container = at(parent_);
        if (c != (container.type == JsonType::object ? '}' : ']')) {
            return kJsonMalformed;
        }
        ++position_;
        container.end = static_cast<std::uint32_t>(position_);
        parent_ = container.parent;
        valueIsComplete();
        return 0;
    }

    // Leaves the name, if the value had one, for its object.
    void valueIsComplete() {
        if (parent_ >= 0 && at(parent_).type == JsonType::string) {
            parent_ = at(parent_).parent;
        }
        expected_ = parent_ >= 0 ? Expected::commaOrEnd : Expected::nothing;
    }

    bool add(JsonType type, std::size_t start, std::size_t end) {
        if (static_cast<std::size_t>(count_) >= tokens_.size()) {
            return false;
        }
        at(count_) = {type, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end), 0, parent_};
        if (parent_ >= 0) {
            ++at(parent_).children;
        }
        ++count_;
        return true;
    }

    // From quotation mark to quotation mark.
    bool string() {
        for (++position_; position_ < text_.size(); ++position_) {
            const char c = text_[position_];
            if (c == '"') {
                ++position_;
                return true;
            }
            if (static_cast<unsigned char>(c) < 0x20 || (c == '\\' && !escape())) {
                return false;
            }
        }
        return false;
    }

    // From the reverse solidus to the last byte of what it introduces.
    bool escape() {
        if (++position_ >= text_.size()) {
            return false;
        }
        if (text_[position_] != 'u') {
            return std::string_view("\"\\/bfnrt").find(text_[position_]) != std::string_view::npos;
        }
        for (int digit = 0; digit < 4; ++digit) {
            if (++position_ >= text_.size() || !isHexDigit(text_[position_])) {
                return false;
            }
        }
        return true;
    }

    bool number() {
        skip('-');
        if (!skip('0') && !digits()) {
            return false;
        }
        if (skip('.') && !digits()) {
            return false;
        }
        if (skip('e') || skip('E')) {
            if (!skip('+')) {
                skip('-');
            }
            return digits();
        }
        return true;
    }

    bool literal() {
        for (const std::string_view word :
             {std::string_view("true"), std::string_view("false"), std::string_view("null")}) {
            if (text_.substr(position_, word.size()) == word) {
                position_ += word.size();
                return true;
            }
        }
        return false;
    }

    bool skip(char c) {
        const bool there = position_ < text_.size() && text_[position_] == c;
        position_ += there ? 1U : 0U;
        return there;
    }

    bool digits() {
        const std::size_t start = position_;
        while (position_ < text_.size() && isDigit(text_[position_])) {
            ++position_;
        }
        return position_ > start;
    }

    void skipWhiteSpace() {
        while (position_ < text_.size() && isWhiteSpace(text_[position_])) {
            ++position_;
        }
    }

    JsonToken& at(std::int32_t position) { return tokens_[static_cast<std::size_t>(position)]; }

    std::string_view text_;
    std::span<JsonToken> tokens_;
    std::size_t position_ = 0;
    std::int32_t count_ = 0;
    std::int32_t parent_ = -1;  // what the next token belongs to: a container, or a name that waits for its value
    Expected expected_ = Expected::value;
};

}  // namespace

std::int32_t jsonTokenize(std::string_view text, std::span<JsonToken> tokens) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return kJsonMalformed;
    }
    return Tokenizer(text, tokens).run();
}

}  // namespace quorvanti

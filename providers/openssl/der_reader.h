// A cursor over strict DER: one-byte tags, definite lengths in their shortest form. It copies nothing; what it returns
// points into the input. Everything that is not strict DER of the expected shape is a failed read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace quorvanti::provider {

using Bytes = std::span<const std::uint8_t>;

namespace tag {
inline constexpr std::uint8_t boolean = 0x01;
inline constexpr std::uint8_t integer = 0x02;
inline constexpr std::uint8_t bitString = 0x03;
inline constexpr std::uint8_t octetString = 0x04;
inline constexpr std::uint8_t null = 0x05;
inline constexpr std::uint8_t objectIdentifier = 0x06;
inline constexpr std::uint8_t utcTime = 0x17;
inline constexpr std::uint8_t generalizedTime = 0x18;
inline constexpr std::uint8_t sequence = 0x30;
inline constexpr std::uint8_t set = 0x31;
// Context-specific [n], primitive and constructed.
constexpr std::uint8_t primitive(std::uint8_t number) {
    return static_cast<std::uint8_t>(0x80 | number);
}
constexpr std::uint8_t constructed(std::uint8_t number) {
    return static_cast<std::uint8_t>(0xa0 | number);
}
}  // namespace tag

struct DerElement {
    std::uint8_t tag = 0;
    Bytes whole;  // tag and length included
    Bytes content;
};

class DerReader {
public:
    explicit DerReader(Bytes input) : next_(input.data()), end_(input.data() + input.size()) {}

    bool atEnd() const { return next_ == end_; }
    bool nextIs(std::uint8_t expected) const { return next_ != end_ && *next_ == expected; }

    // The next element, whatever it is. A failed read leaves the cursor where it was.
    bool read(DerElement& element) {
        std::size_t length = 0;
        const std::uint8_t* content = enter(length);
        if (content == nullptr)
            return false;
        element.tag = *next_;
        element.whole = {next_, content + length};
        element.content = {content, length};
        next_ = content + length;
        return true;
    }
    bool read(std::uint8_t expected, DerElement& element) { return nextIs(expected) && read(element); }
    bool read(std::uint8_t expected, Bytes& found) {
        std::size_t length = 0;
        const std::uint8_t* content = nextIs(expected) ? enter(length) : nullptr;
        if (content == nullptr)
            return false;
        found = {content, length};
        next_ = content + length;
        return true;
    }
    bool skip(std::uint8_t expected) {
        Bytes ignored;
        return read(expected, ignored);
    }

private:
    // Where the content of the next element begins, and its length; null unless the element ends within the input and
    // has tag and length written the only way DER allows. Nearly every element of a signature has a length of one byte.
    const std::uint8_t* enter(std::size_t& length) const {
        constexpr std::uint8_t tagNumberMask = 0x1f;  // all bits set: the number follows in further bytes
        if (end_ - next_ < 2 || (next_[0] & tagNumberMask) == tagNumberMask)
            return nullptr;
        const std::uint8_t* content = next_ + 2;
        length = next_[1];
        if (length >= 0x80)
            return enterLong(length);
        return length <= static_cast<std::size_t>(end_ - content) ? content : nullptr;
    }
    const std::uint8_t* enterLong(std::size_t& length) const;

    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

// The content of the one element that fills `input`.
inline bool readOnly(Bytes input, std::uint8_t expected, Bytes& content) {
    DerReader reader(input);
    return reader.read(expected, content) && reader.atEnd();
}

inline bool sameBytes(Bytes left, Bytes right) {
    return left.size() == right.size() && (left.empty() || std::memcmp(left.data(), right.data(), left.size()) == 0);
}

// Whether this is the shortest way to write the number.
bool isInteger(Bytes content);

// The order of a DER SET OF: -1, 0 or 1 as `left` comes before, equals or comes behind `right`.
int compareEncodings(Bytes left, Bytes right);

}  // namespace quorvanti::provider

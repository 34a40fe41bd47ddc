// A cursor over strict DER: one-byte tags, definite lengths in their shortest form. It copies nothing; what it returns
// points into the input. Everything that is not strict DER of the expected shape is a failed read.
#pragma once

#include <cstddef>
#include <cstdint>
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
    bool read(DerElement& element);
    bool read(std::uint8_t expected, DerElement& element) { return nextIs(expected) && read(element); }
    bool read(std::uint8_t expected, Bytes& found);
    bool skip(std::uint8_t expected);

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

// The content of the one element that fills `input`.
bool readOnly(Bytes input, std::uint8_t expected, Bytes& content);

bool sameBytes(Bytes left, Bytes right);

// Whether this is the shortest way to write the number.
bool isInteger(Bytes content);

// The order of a DER SET OF: -1, 0 or 1 as `left` comes before, equals or comes behind `right`.
int compareEncodings(Bytes left, Bytes right);

}  // namespace quorvanti::provider

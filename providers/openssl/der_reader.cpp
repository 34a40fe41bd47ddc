#include "providers/openssl/der_reader.h"

#include <algorithm>
#include <cstring>

namespace quorvanti::provider {
namespace {

constexpr std::uint8_t tagNumberMask = 0x1f;  // all bits set: the number follows in further bytes
constexpr std::size_t longestLength = 4;

// Length of content and of its header; false unless written the only way DER allows.
bool readLength(Bytes input, std::size_t& header, std::size_t& length) {
    if (input.size() < 2) {
        return false;
    }
    const std::uint8_t first = input[1];
    header = 2;
    length = first;
    if (first < 0x80) {
        return true;
    }
    const std::size_t count = first & 0x7fU;
    if (count == 0 || count > longestLength || input.size() < 2 + count || input[2] == 0) {
        return false;
    }
    length = 0;
    for (const std::uint8_t byte : input.subspan(2, count)) {
        length = (length << 8) | byte;
    }
    header = 2 + count;
    return length >= 0x80;
}

}  // namespace

bool DerReader::read(DerElement& element) {
    std::size_t header = 0;
    std::size_t length = 0;
    if (!readLength(rest_, header, length) || (rest_.front() & tagNumberMask) == tagNumberMask ||
        length > rest_.size() - header) {
        return false;
    }
    element.tag = rest_.front();
    element.whole = rest_.first(header + length);
    element.content = element.whole.subspan(header);
    rest_ = rest_.subspan(header + length);
    return true;
}

bool DerReader::read(std::uint8_t expected, Bytes& content) {
    DerElement element;
    if (!read(expected, element)) {
        return false;
    }
    content = element.content;
    return true;
}

bool DerReader::skip(std::uint8_t expected) {
    DerElement ignored;
    return read(expected, ignored);
}

bool readOnly(Bytes input, std::uint8_t expected, Bytes& content) {
    DerReader reader(input);
    return reader.read(expected, content) && reader.atEnd();
}

bool sameBytes(Bytes left, Bytes right) {
    return left.size() == right.size() && (left.empty() || std::memcmp(left.data(), right.data(), left.size()) == 0);
}

bool isInteger(Bytes content) {
    if (content.empty()) {
        return false;
    }
    const bool padded =
        content.size() > 1 && ((content[0] == 0x00 && content[1] < 0x80) || (content[0] == 0xff && content[1] >= 0x80));
    return !padded;
}

int compareEncodings(Bytes left, Bytes right) {
    const std::size_t common = std::min(left.size(), right.size());
    const int order = common == 0 ? 0 : std::memcmp(left.data(), right.data(), common);
    if (order != 0) {
        return order < 0 ? -1 : 1;
    }
    return left.size() == right.size() ? 0 : (left.size() < right.size() ? -1 : 1);
}

}  // namespace quorvanti::provider

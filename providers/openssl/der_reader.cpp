#include "providers/openssl/der_reader.h"

#include <algorithm>
#include <cstring>

namespace quorvanti::provider {
namespace {

constexpr std::uint8_t tagNumberMask = 0x1f;  // all bits set: the number follows in further bytes
constexpr std::size_t longestLength = 4;

// Where the content of the element at `start` begins, and its length; null unless the element lies before `end` and has
// tag and length written the only way DER allows.
const std::uint8_t* enter(const std::uint8_t* start, const std::uint8_t* end, std::size_t& length) {
    if (end - start < 2 || (start[0] & tagNumberMask) == tagNumberMask) {
        return nullptr;
    }
    const std::uint8_t first = start[1];
    const std::uint8_t* content = start + 2;
    length = first;
    if (first >= 0x80) {
        const std::size_t count = first & 0x7fU;
        if (count == 0 || count > longestLength || static_cast<std::size_t>(end - content) < count || *content == 0) {
            return nullptr;
        }
        length = 0;
        for (std::size_t i = 0; i < count; ++i) {
            length = (length << 8) | *content++;
        }
        if (length < 0x80) {
            return nullptr;
        }
    }
    return length <= static_cast<std::size_t>(end - content) ? content : nullptr;
}

}  // namespace

bool DerReader::read(DerElement& element) {
    std::size_t length = 0;
    const std::uint8_t* content = enter(next_, end_, length);
    if (content == nullptr) {
        return false;
    }
    element.tag = *next_;
    element.whole = {next_, content + length};
    element.content = {content, length};
    next_ = content + length;
    return true;
}

bool DerReader::read(std::uint8_t expected, Bytes& found) {
    std::size_t length = 0;
    const std::uint8_t* content = nextIs(expected) ? enter(next_, end_, length) : nullptr;
    if (content == nullptr) {
        return false;
    }
    found = {content, length};
    next_ = content + length;
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

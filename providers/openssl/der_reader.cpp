#include "providers/openssl/der_reader.h"

#include <algorithm>
#include <cstring>

namespace quorvanti::provider {
// The length is in the bytes behind its first one.
const std::uint8_t* DerReader::enterLong(std::size_t& length) const {
    constexpr std::size_t longestLength = 4;
    const std::uint8_t* content = next_ + 2;
    const std::size_t count = next_[1] & 0x7fU;
    if (count == 0 || count > longestLength || static_cast<std::size_t>(end_ - content) < count || *content == 0)
        return nullptr;
    length = 0;
    for (std::size_t i = 0; i < count; ++i)
        length = (length << 8) | *content++;
    return length >= 0x80 && length <= static_cast<std::size_t>(end_ - content) ? content : nullptr;
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

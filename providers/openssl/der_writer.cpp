#include "providers/openssl/der_writer.h"

namespace quorvanti::provider {

void DerWriter::put(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > start_) {
        std::vector<std::uint8_t> larger(2 * (size() + bytes.size()));
        const std::size_t start = larger.size() - size();
        std::ranges::copy(written(), larger.begin() + static_cast<std::ptrdiff_t>(start));
        memory_ = std::move(larger);
        start_ = start;
    }
    start_ -= bytes.size();
    std::ranges::copy(bytes, memory_.begin() + static_cast<std::ptrdiff_t>(start_));
}

void DerWriter::wrap(std::uint8_t tag, std::size_t behind) {
    std::size_t length = size() - behind;
    if (length < 0x80) {
        put(static_cast<std::uint8_t>(length));
    } else {
        std::uint8_t octets = 0;
        for (; length > 0; length >>= 8, ++octets)
            put(static_cast<std::uint8_t>(length));
        put(static_cast<std::uint8_t>(0x80U | octets));
    }
    put(tag);
}

}  // namespace quorvanti::provider

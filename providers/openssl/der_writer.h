// Writes DER from its end to its beginning: what is put next stands before what is there. So each length is known when
// its turn comes, and nothing is copied twice.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quorvanti::provider {

class DerWriter {
public:
    // `room`: about how much is going to be written.
    explicit DerWriter(std::size_t room) : memory_(std::max<std::size_t>(room, 16)), start_(memory_.size()) {}

    std::size_t size() const { return memory_.size() - start_; }
    bool empty() const { return size() == 0; }
    std::span<const std::uint8_t> written() const { return std::span(memory_).subspan(start_); }

    void put(std::span<const std::uint8_t> bytes);
    void put(std::uint8_t byte) { put({&byte, 1}); }

    // Makes an element of everything put since size() was `behind`.
    void wrap(std::uint8_t tag, std::size_t behind);
    void putElement(std::uint8_t tag, std::span<const std::uint8_t> content) {
        const std::size_t behind = size();
        put(content);
        wrap(tag, behind);
    }

private:
    std::vector<std::uint8_t> memory_;
    std::size_t start_;
};

}  // namespace quorvanti::provider

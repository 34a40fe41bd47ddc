// How a hash or MAC that is under way is written down and read again. OpenSSL does not give out the inner state of a
// digest, so what has been fed is kept and fed again.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "providers/openssl/digests.h"

namespace quorvanti::provider {

// More than this can be hashed, but no longer written down.
inline constexpr std::size_t mostSavedBytes = 1U << 20U;

struct SavedState {
    std::uint8_t kind = 0;  // 'H' hash, 'M' keyed MAC
    Digest digest = Digest::sha256;
    std::span<const std::uint8_t> key;  // of a MAC
    std::span<const std::uint8_t> input;
};

std::vector<std::uint8_t> writeState(const SavedState& state);

// Nothing when the bytes are not exactly one state. The ranges lie in `blob`.
std::optional<SavedState> readState(std::span<const std::uint8_t> blob, std::uint8_t kind);

// What has been fed so far, wiped when it goes or grows too long.
class InputRecord {
public:
    InputRecord() = default;
    InputRecord(const InputRecord&) = delete;
    InputRecord& operator=(const InputRecord&) = delete;
    ~InputRecord() { clear(); }

    bool hasRoomFor(std::size_t count) const { return complete_ && count <= mostSavedBytes - size_; }
    void append(std::span<const std::uint8_t> data);
    void restart();
    bool complete() const { return complete_; }
    std::span<const std::uint8_t> bytes() const { return {data(), size_}; }

private:
    const std::uint8_t* data() const { return larger_ != nullptr ? larger_.get() : small_.data(); }
    std::uint8_t* data() { return larger_ != nullptr ? larger_.get() : small_.data(); }
    void grow(std::size_t needed);
    void clear();

    std::array<std::uint8_t, 512> small_;  // as much as an ordinary token needs
    std::unique_ptr<std::uint8_t[]> larger_;
    std::size_t capacity_ = std::tuple_size_v<decltype(small_)>;
    std::size_t size_ = 0;
    bool complete_ = true;
};

}  // namespace quorvanti::provider

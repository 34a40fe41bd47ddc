#include "providers/openssl/saved_state.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "providers/openssl/hash_algorithms.h"

namespace quorvanti::provider {
namespace {

// "KAVH" or "KAVM", the format's version, the algorithm's number, the length of the key in four bytes, key, input.
constexpr std::array<std::uint8_t, 3> mark{'K', 'A', 'V'};
constexpr std::uint8_t version = 1;
constexpr std::size_t headSize = 10;

}  // namespace

std::vector<std::uint8_t> writeState(const SavedState& state) {
    const auto keyLength = static_cast<std::uint32_t>(state.key.size());
    const std::array<std::uint8_t, headSize> head{mark[0],
                                                  mark[1],
                                                  mark[2],
                                                  state.kind,
                                                  version,
                                                  static_cast<std::uint8_t>(idOfDigest(state.digest)),
                                                  static_cast<std::uint8_t>(keyLength >> 24U),
                                                  static_cast<std::uint8_t>(keyLength >> 16U),
                                                  static_cast<std::uint8_t>(keyLength >> 8U),
                                                  static_cast<std::uint8_t>(keyLength)};
    // In one piece: growing would leave copies of keys behind.
    std::vector<std::uint8_t> blob(headSize + state.key.size() + state.input.size());
    auto end = std::ranges::copy(head, blob.begin()).out;
    end = std::ranges::copy(state.key, end).out;
    std::ranges::copy(state.input, end);
    return blob;
}

std::optional<SavedState> readState(std::span<const std::uint8_t> blob, std::uint8_t kind) {
    if (blob.size() < headSize || !std::ranges::equal(blob.first(mark.size()), mark) || blob[3] != kind ||
        blob[4] != version)
        return std::nullopt;
    const auto digest = digestById(blob[5]);
    std::size_t keyLength = 0;
    for (std::size_t i = 6; i < headSize; ++i)
        keyLength = keyLength << 8U | blob[i];
    const auto rest = blob.subspan(headSize);
    if (!digest || keyLength > rest.size() || rest.size() - keyLength > mostSavedBytes)
        return std::nullopt;
    return SavedState{kind, *digest, rest.first(keyLength), rest.subspan(keyLength)};
}

void InputRecord::append(std::span<const std::uint8_t> data) {
    if (!complete_ || data.empty())
        return;
    if (!hasRoomFor(data.size())) {
        clear();
        complete_ = false;
        return;
    }
    if (data.size() > capacity_ - size_)
        grow(size_ + data.size());
    std::memcpy(this->data() + size_, data.data(), data.size());
    size_ += data.size();
}

// Leaves nothing behind in the old place.
void InputRecord::grow(std::size_t needed) {
    const std::size_t capacity = std::min(mostSavedBytes, 2 * needed);
    auto larger = std::make_unique_for_overwrite<std::uint8_t[]>(capacity);
    std::ranges::copy(bytes(), larger.get());
    OPENSSL_cleanse(data(), size_);
    larger_ = std::move(larger);
    capacity_ = capacity;
}

void InputRecord::restart() {
    clear();
    complete_ = true;
}

void InputRecord::clear() {
    OPENSSL_cleanse(data(), size_);
    size_ = 0;
}

}  // namespace quorvanti::provider

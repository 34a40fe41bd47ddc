#include "providers/openssl/saved_state.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <array>

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
    if (!complete_)
        return;
    if (!hasRoomFor(data.size())) {
        clear();
        complete_ = false;
        return;
    }
    if (bytes_.size() + data.size() > bytes_.capacity()) {
        // Grown by hand: a vector would leave the old bytes behind.
        std::vector<std::uint8_t> larger;
        larger.reserve(std::min(mostSavedBytes, std::max<std::size_t>(256, 2 * (bytes_.size() + data.size()))));
        larger.assign(bytes_.begin(), bytes_.end());
        OPENSSL_cleanse(bytes_.data(), bytes_.size());
        bytes_.swap(larger);
    }
    bytes_.insert(bytes_.end(), data.begin(), data.end());
}

void InputRecord::restart() {
    clear();
    complete_ = true;
}

void InputRecord::clear() {
    OPENSSL_cleanse(bytes_.data(), bytes_.size());
    bytes_.clear();
}

}  // namespace quorvanti::provider

#include "sec/jwt/known_keys.h"

#include <algorithm>

namespace quorvanti {
namespace {

constexpr std::size_t kMostBytes = 65536;

// A file that holds a public key may hold the private one as well.
void drop(std::vector<std::uint8_t>& bytes) {
    volatile std::uint8_t* const content = bytes.data();
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        content[at] = 0;
    }
    bytes.clear();
}

}  // namespace

const KnownKeys::Key* KnownKeys::find(std::span<const std::uint8_t> given) const {
    if (given.empty()) {  // as free places are
        return nullptr;
    }
    const auto* const found = std::find_if(keys_.begin(), keys_.end(),
                                           [given](const Key& key) { return std::ranges::equal(key.given, given); });
    return found != keys_.end() ? found : nullptr;
}

void KnownKeys::add(std::span<const std::uint8_t> given, std::span<const std::uint8_t> certificate) {
    if (given.empty() || given.size() > kMostBytes || find(given) != nullptr) {
        return;
    }
    Key& key = keys_[next_];
    next_ = (next_ + 1) % keys_.size();
    drop(key.given);
    drop(key.certificate);
    key.certificate.assign(certificate.begin(), certificate.end());
    key.given.assign(given.begin(), given.end());
}

void KnownKeys::forget() {
    for (Key& key : keys_) {
        drop(key.given);
        drop(key.certificate);
    }
}

}  // namespace quorvanti

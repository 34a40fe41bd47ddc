// The public keys that have verified signatures, and what each of them is: a certificate has to be decoded to find that
// out, which takes longer than the verification.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quorvanti {

// Only for a key that has verified a signature: then it is no secret. The caller holds the engine's section.
class KnownKeys {
public:
    struct Key {
        std::vector<std::uint8_t> given;
        std::vector<std::uint8_t> certificate;  // DER; empty for a key that is none
    };

    KnownKeys() = default;
    ~KnownKeys() { forget(); }
    KnownKeys(const KnownKeys&) = delete;
    KnownKeys& operator=(const KnownKeys&) = delete;

    // Null for one that is not known.
    const Key* find(std::span<const std::uint8_t> given) const;
    // Of more than a few the one that was added first is forgotten; long ones are not remembered.
    void add(std::span<const std::uint8_t> given, std::span<const std::uint8_t> certificate);
    void forget();

private:
    std::array<Key, 8> keys_;
    std::size_t next_ = 0;
};

}  // namespace quorvanti

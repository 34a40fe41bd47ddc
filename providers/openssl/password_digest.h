// Recognises a password again without keeping it.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "providers/openssl/digests.h"

namespace quorvanti::provider {

class PasswordDigest {
public:
    // Throws when the toolkit cannot compute it.
    explicit PasswordDigest(std::string_view password);

    // Takes as long for a password that is almost right as for any other.
    bool fits(std::string_view password) const;

private:
    static constexpr std::size_t saltSize = 16;

    DigestValue compute(std::string_view password) const;

    std::array<std::uint8_t, saltSize> salt_;
    DigestValue value_;
};

}  // namespace quorvanti::provider

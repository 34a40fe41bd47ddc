// Digest algorithms by the names that callers give them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "providers/openssl/digests.h"

namespace quorvanti::provider {

// "SHA256", "SHA-256", "sha_256": neither case nor separators count, nor blanks at the end.
std::optional<Digest> digestByName(std::string_view name);

// The digest to sign or verify with. 10 for an unknown name, 19 for one that is refused, each with its sentence.
std::int32_t usableDigest(std::string_view name, Digest& digest);

}  // namespace quorvanti::provider

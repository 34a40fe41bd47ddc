// The numbers by which callers name hash algorithms.
#pragma once

#include <cstdint>
#include <optional>

#include "providers/openssl/digests.h"

namespace quorvanti::provider {

// Nothing for a number that is no algorithm, or one that is refused.
std::optional<Digest> digestById(std::int32_t id);

std::int32_t idOfDigest(Digest digest);

// 10 with its sentence.
std::int32_t unknownHash();

}  // namespace quorvanti::provider

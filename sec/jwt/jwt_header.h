// The header of a token: which algorithm signed it.
#pragma once

#include "sec/jwt/jwt_outcome.h"

#include <cstdint>
#include <string_view>

namespace quorvanti {

enum class JwtScheme : std::uint8_t { hmac, rsa };

struct JwtAlgorithm {
    std::string_view name;
    std::uint32_t code;
    std::string_view hash;
    JwtScheme scheme;
};

// Null in `algorithm` when the header names none of those known. Nothing else in a header is obeyed: keys, certificates
// and addresses that a token brings along are not looked at.
JwtOutcome readJwtHeader(std::string_view json, const JwtAlgorithm*& algorithm);

}  // namespace quorvanti

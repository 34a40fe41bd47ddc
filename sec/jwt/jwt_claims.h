// The claims of a token's payload.
#pragma once

#include "sec/jwt/json_tokens.h"
#include "sec/jwt/jwt_outcome.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

// Texts lie in the payload, as they are written there; one that points nowhere is a claim that the token does not have.
struct JwtClaims {
    std::string_view jsonId;
    std::string_view subject;
    std::string_view audience;
    std::string_view issuer;
    std::string_view expires;
    std::string_view notBefore;
    std::string_view issuedAt;
    std::string_view nameId;
};

// Finds the claims, the one of the given name too unless that is empty, and checks the times as it meets them.
JwtOutcome readJwtClaims(std::string_view payload, std::span<const JsonToken> tokens, std::string_view nameIdClaim,
                         JwtClaims& claims);

// Seconds since 1970 as the claim gives them.
std::int64_t jwtTime(std::string_view claim);

}  // namespace quorvanti

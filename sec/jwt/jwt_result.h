// The caller's record: what it expects of a token, and what it is handed.
#pragma once

#include "sec/jwt/jwt_claims.h"
#include "sec/jwt/jwt_outcome.h"

#include <quorvanti/voraksso.h>

#include <cstdint>
#include <string_view>

namespace quorvanti {

// A record of another size than expected is touched only where it says that it reaches.
bool jwtResultReaches(const JwtResult& result, std::uint64_t end);
// Cut where the record or the field ends.
void writeJwtErrorText(JwtResult& result, std::string_view all);

// Empties text and payload; 15 for a record of the wrong size, with the text already in it.
std::int32_t prepareJwtResult(JwtResult& result);

// Compares each claim with the one that the caller expects, or hands it out: as it will lie in the caller's payload.
JwtOutcome settleJwtClaims(const JwtClaims& claims, std::string_view payload, bool wantsNameId, JwtResult& result);
// Copies the payload; one that does not fit is not there, and its length is 0.
void handOutJwtPayload(std::string_view payload, JwtResult& result);

}  // namespace quorvanti

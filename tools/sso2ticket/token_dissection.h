// A JSON Web Token taken apart to be looked at. Nothing is verified; what is wrong with it is told, and what could be
// read is kept.
#pragma once

#include "tools/sso2ticket/output.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quorvanti {

// A JSON object that came in a token, or why it cannot be shown: then `object` is nothing.
struct TokenJson {
    std::optional<Json> object;
    std::string problem;  // also when the object is there but a name in it appears twice
};

// Deeper objects and longer ones than any token has are not read: showing them takes recursion and time.
TokenJson readTokenJson(std::string_view text);

struct TokenDissection {
    std::optional<Json> header;
    std::optional<Json> claims;
    std::optional<std::size_t> signatureLength;
    std::string problem;  // the first; empty: well-formed
};

TokenDissection dissectToken(std::string_view token);

// The header's "alg", "" when it has none that is a text.
std::string algorithmOf(const TokenDissection& token);

// One row a claim, and behind them the times in words.
std::string claimsText(const Json& claims);
// The times of the claims: issuedAt, notBefore, expires, null where there is none.
Json timesJson(const Json& claims);

}  // namespace quorvanti

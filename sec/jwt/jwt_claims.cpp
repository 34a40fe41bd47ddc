#include "sec/jwt/jwt_claims.h"

#include "krn/time/clock.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace quorvanti {
namespace {

JwtOutcome checkExpires(std::string_view claim) {
    return jwtTime(claim) > currentSeconds() ? JwtOutcome{} : JwtOutcome{4, "JWT is expired"};
}

JwtOutcome checkNotBefore(std::string_view claim) {
    return currentSeconds() > jwtTime(claim) ? JwtOutcome{} : JwtOutcome{14, "JWT is not valid yet"};
}

struct RegisteredClaim {
    std::string_view name;
    std::string_view JwtClaims::*value;
    JwtOutcome (*check)(std::string_view claim);
    const char* repeated;
};

// clang-format off
constexpr std::array<RegisteredClaim, 7> kRegistered{{
    {"jti", &JwtClaims::jsonId,    nullptr,         "Invalid JWT attribute JTI already parsed"},
    {"sub", &JwtClaims::subject,   nullptr,         "Invalid JWT attribute Subject already parsed"},
    {"aud", &JwtClaims::audience,  nullptr,         "Invalid JWT attribute Audience already parsed"},
    {"iss", &JwtClaims::issuer,    nullptr,         "Invalid JWT attribute Issuer already parsed"},
    {"exp", &JwtClaims::expires,   &checkExpires,   "Invalid JWT attribute exp already parsed"},
    {"nbf", &JwtClaims::notBefore, &checkNotBefore, "Invalid JWT attribute nbf already parsed"},
    {"iat", &JwtClaims::issuedAt,  nullptr,         "Invalid JWT attribute iat already parsed"},
}};
// clang-format on
constexpr RegisteredClaim kNameId{{}, &JwtClaims::nameId, nullptr, "Invalid JWT attribute NameID already parsed"};

JwtOutcome record(const RegisteredClaim& claim, std::string_view value, JwtClaims& claims) {
    std::string_view& recorded = claims.*claim.value;
    if (recorded.data() != nullptr) {
        return {8, claim.repeated};
    }
    recorded = value;
    return claim.check != nullptr ? claim.check(value) : JwtOutcome{};
}

const RegisteredClaim* findRegistered(const JsonToken& token, std::string_view text) {
    if (token.type != JsonType::string || text.size() != 3) {
        return nullptr;
    }
    const auto* found = std::find_if(kRegistered.begin(), kRegistered.end(),
                                     [text](const RegisteredClaim& row) { return row.name == text; });
    return found != kRegistered.end() ? found : nullptr;
}

bool isName(const JsonToken& token) {
    return token.type == JsonType::string && token.children != 0;
}

}  // namespace

// Every token is walked, deliberately: nested names and plain values count as claims too, and their value is whatever
// token comes next. Only what belongs to a name is not looked at again, so that a value may read like a claim's name.
JwtOutcome readJwtClaims(std::string_view payload, std::span<const JsonToken> tokens, std::string_view nameIdClaim,
                         JwtClaims& claims) {
    for (std::size_t at = 1; at + 1 < tokens.size(); ++at) {
        const std::string_view text = tokens[at].text(payload);
        const std::string_view value = tokens[at + 1].text(payload);
        const RegisteredClaim* const registered = findRegistered(tokens[at], text);
        const bool isNameId = !nameIdClaim.empty() && text == nameIdClaim;
        JwtOutcome outcome;
        if (registered != nullptr) {
            outcome = record(*registered, value, claims);
        }
        if (isNameId && !outcome.failed()) {
            outcome = record(kNameId, value, claims);
        }
        if (outcome.failed()) {
            return outcome;
        }
        if ((registered != nullptr || isNameId) && isName(tokens[at])) {
            ++at;
        }
    }
    return {};
}

std::int64_t jwtTime(std::string_view claim) {
    std::array<char, 64> text{};
    claim.copy(text.data(), text.size() - 1);
    return std::strtoll(text.data(), nullptr, 10);
}

}  // namespace quorvanti

#include "sec/jwt/jwt_claims.h"

#include "krn/time/clock.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>

namespace quorvanti {
namespace {

JwtOutcome checkExpires(std::string_view claim, std::int64_t now) {
    return jwtTime(claim) > now ? JwtOutcome{} : JwtOutcome{4, "JWT is expired"};
}

JwtOutcome checkNotBefore(std::string_view claim, std::int64_t now) {
    return now > jwtTime(claim) ? JwtOutcome{} : JwtOutcome{14, "JWT is not valid yet"};
}

// Three characters, compared in one step.
constexpr std::uint32_t tagOf(std::string_view name) {
    const auto code = [name](std::size_t at) { return std::uint32_t{static_cast<std::uint8_t>(name[at])}; };
    return code(0) | code(1) << 8 | code(2) << 16;
}

struct RegisteredClaim {
    std::uint32_t tag;
    std::string_view JwtClaims::*value;
    JwtOutcome (*check)(std::string_view claim, std::int64_t now);
    const char* repeated;
};

// clang-format off
constexpr std::array<RegisteredClaim, 7> kRegistered{{
    {tagOf("jti"), &JwtClaims::jsonId,    nullptr,         "Invalid JWT attribute JTI already parsed"},
    {tagOf("sub"), &JwtClaims::subject,   nullptr,         "Invalid JWT attribute Subject already parsed"},
    {tagOf("aud"), &JwtClaims::audience,  nullptr,         "Invalid JWT attribute Audience already parsed"},
    {tagOf("iss"), &JwtClaims::issuer,    nullptr,         "Invalid JWT attribute Issuer already parsed"},
    {tagOf("exp"), &JwtClaims::expires,   &checkExpires,   "Invalid JWT attribute exp already parsed"},
    {tagOf("nbf"), &JwtClaims::notBefore, &checkNotBefore, "Invalid JWT attribute nbf already parsed"},
    {tagOf("iat"), &JwtClaims::issuedAt,  nullptr,         "Invalid JWT attribute iat already parsed"},
}};
// clang-format on
constexpr RegisteredClaim kNameId{0, &JwtClaims::nameId, nullptr, "Invalid JWT attribute NameID already parsed"};

JwtOutcome record(const RegisteredClaim& claim, std::string_view value, std::int64_t now, JwtClaims& claims) {
    std::string_view& recorded = claims.*claim.value;
    if (recorded.data() != nullptr) {
        return {8, claim.repeated};
    }
    recorded = value;
    return claim.check != nullptr ? claim.check(value, now) : JwtOutcome{};
}

const RegisteredClaim* findRegistered(const JsonToken& token, std::string_view text) {
    if (token.type != JsonType::string || text.size() != 3) {
        return nullptr;
    }
    const auto* found = std::find_if(kRegistered.begin(), kRegistered.end(),
                                     [tag = tagOf(text)](const RegisteredClaim& row) { return row.tag == tag; });
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
    const std::int64_t now = currentSeconds();
    for (std::size_t at = 1; at + 1 < tokens.size(); ++at) {
        const std::string_view text = tokens[at].text(payload);
        const std::string_view value = tokens[at + 1].text(payload);
        const RegisteredClaim* const registered = findRegistered(tokens[at], text);
        const bool isNameId = !nameIdClaim.empty() && text == nameIdClaim;
        JwtOutcome outcome;
        if (registered != nullptr) {
            outcome = record(*registered, value, now, claims);
        }
        if (isNameId && !outcome.failed()) {
            outcome = record(kNameId, value, now, claims);
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

namespace {

// Eight digits in one word, the first one lowest, and whether they are that.
bool readEightDigits(const char* text, std::int64_t& value) {
    std::uint64_t digits = 0;
    std::memcpy(&digits, text, sizeof digits);
    const std::uint64_t values = digits - 0x3030303030303030;
    // Adding 0x76 carries a byte above nine into its highest bit.
    if (((values | (values + 0x7676767676767676)) & 0x8080808080808080) != 0) {
        return false;
    }
    const std::uint64_t pairs = (values * 10 + (values >> 8)) & 0x00FF00FF00FF00FF;
    const std::uint64_t fours = (pairs * 100 + (pairs >> 16)) & 0x0000FFFF0000FFFF;
    value = static_cast<std::int64_t>((fours * 10000 + (fours >> 32)) & 0xFFFFFFFF);
    return true;
}

// Digits and nothing else, few enough for any to fit.
bool readPlainTime(std::string_view claim, std::int64_t& seconds) {
    if (claim.empty() || claim.size() > std::numeric_limits<std::int64_t>::digits10) {
        return false;
    }
    seconds = 0;
    if (claim.size() >= 8) {
        if (!readEightDigits(claim.data(), seconds)) {
            return false;
        }
        claim.remove_prefix(8);
    }
    for (const char c : claim) {
        const auto digit = static_cast<std::uint8_t>(c - '0');
        if (digit > 9) {
            return false;
        }
        seconds = seconds * 10 + digit;
    }
    return true;
}

}  // namespace

// As strtoll reads it: white space, a sign, digits; what is too large is the largest.
std::int64_t jwtTime(std::string_view claim) {
    if (std::int64_t seconds = 0; readPlainTime(claim, seconds)) {
        return seconds;
    }
    constexpr std::size_t mostRead = 63;
    constexpr std::string_view whiteSpace = " \t\n\v\f\r";
    std::string_view text = claim.substr(0, mostRead);
    text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    std::int64_t seconds = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), seconds).ec == std::errc::result_out_of_range) {
        using Limits = std::numeric_limits<std::int64_t>;
        return text.starts_with('-') ? Limits::min() : Limits::max();
    }
    return seconds;
}

}  // namespace quorvanti

#include "sec/jwt/jwt_engine.h"

#include "base/dptrc/dptrace.h"
#include "krn/thr/thr.h"
#include "sec/jwt/base64url.h"
#include "sec/jwt/crypt_functions.h"
#include "sec/jwt/jwt_claims.h"
#include "sec/jwt/jwt_header.h"
#include "sec/jwt/jwt_result.h"
#include "sec/jwt/jwt_signature.h"
#include "sec/jwt/scratch_buffer.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>
#include <optional>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/jwt/jwtxx";

struct JwtState {
    ThrCS section;
    SsfFunctionTable* cryptoTable = nullptr;
    std::atomic<bool> started{false};
    CryptFunctions functions;
    KnownKeys knownKeys;
};
JwtState state;

bool prepareSection() {
    if (state.section.marker == kThrSectionReady) {
        return true;
    }
    if (ThrInitialize() != kThrOk) {
        TRACE_ERROR_AT(109, "Thread Library could not be initialized.\n");
        return false;
    }
    ThrCSCreate(state.section);
    state.section.tag = "MUTEX_SSF";
    return true;
}

// --- One token ------------------------------------------------------------------------------------------------

struct JwtParts {
    std::string_view header;
    std::string_view payload;
    std::string_view signature;
    std::string_view signedText;  // header "." payload
};

std::optional<JwtParts> split(std::string_view token) {
    const std::size_t first = token.find('.');
    const std::size_t second = first == std::string_view::npos ? first : token.find('.', first + 1);
    if (second == std::string_view::npos || token.size() > std::size_t{std::numeric_limits<std::int32_t>::max()}) {
        return std::nullopt;
    }
    const JwtParts parts{token.substr(0, first), token.substr(first + 1, second - first - 1), token.substr(second + 1),
                         token.substr(0, second)};
    return parts.header.empty() || parts.payload.empty() ? std::nullopt : std::optional(parts);
}

// A part of a token and what it decodes to.
template <std::size_t OnStack>
class DecodedPart {
public:
    explicit DecodedPart(std::string_view part) : buffer_(base64UrlRoom(part.size())) {
        length_ = decodeBase64Url(part, buffer_.span());
    }

    bool failed() const { return !length_.has_value(); }
    std::span<const std::uint8_t> bytes() { return buffer_.span().first(*length_); }
    std::string_view text() { return {reinterpret_cast<const char*>(bytes().data()), bytes().size()}; }

private:
    ScratchBuffer<std::uint8_t, OnStack> buffer_;
    std::optional<std::size_t> length_;
};

JwtOutcome checkHeader(std::string_view part, const JwtAlgorithm*& algorithm) {
    DecodedPart<256> header(part);
    return header.failed() ? JwtOutcome{1281, "Invalid JWT header detected during base64 decode."}
                           : readJwtHeader(header.text(), algorithm);
}

JwtOutcome checkSignature(const JwtParts& parts, const JwtAlgorithm* algorithm, std::span<const std::uint8_t> key) {
    DecodedPart<512> value(parts.signature);
    if (value.failed()) {
        return {1281, "Invalid JWT signature detected during base64"};
    }
    if (algorithm == nullptr) {
        return {21, "JWT signature algorithm not valid"};
    }
    const JwtSignature signature{*algorithm, parts.signedText, value.bytes(), key};
    const ThrCSGuard guard(state.section);
    const std::int32_t code = verifyJwtSignature(signature, *state.cryptoTable, state.functions, state.knownKeys);
    if (code != 0) {
        TRACE(3, "Token validation failed with error RC %d. \n", code);
        return {20, "JWT signature validation failed"};
    }
    TRACE(3, "Token validation was successful. \n");
    return {};
}

JwtOutcome checkPayload(std::string_view part, const JwtAlgorithm& algorithm, std::string_view nameIdClaim,
                        JwtResult& result) {
    DecodedPart<2048> decoded(part);
    if (decoded.failed()) {
        return {1281, "Invalid JWT body detected during base64"};
    }
    const std::string_view payload = decoded.text();
    ScratchBuffer<JsonToken, 256> tokens(part.size() / 3);  // counted from the text as received
    const std::int32_t count = jsonTokenize(payload, tokens.span());
    if (count <= 0) {
        return {5, "Invalid JWT body parsed"};
    }
    const auto found = tokens.span().first(static_cast<std::size_t>(count));
    if (found[0].type != JsonType::object || found[0].text(payload).size() != payload.size()) {
        return {5, "Invalid JWT body syntax parsed"};
    }
    JwtClaims claims;
    if (const JwtOutcome outcome = readJwtClaims(payload, found, nameIdClaim, claims); outcome.failed()) {
        return outcome;
    }
    result.algorithm = algorithm.code;
    if (const std::int64_t issuedAt = jwtTime(claims.issuedAt); issuedAt != 0) {
        result.issuedAt = issuedAt;
    }
    // In this order: an expected claim may lie in the payload buffer.
    const JwtOutcome outcome = settleJwtClaims(claims, payload, !nameIdClaim.empty(), result);
    handOutJwtPayload(payload, result);
    return outcome;
}

JwtOutcome evaluate(std::string_view token, std::span<const std::uint8_t> key, std::string_view nameIdClaim,
                    JwtResult& result) {
    const std::optional<JwtParts> parts = split(token);
    if (!parts) {
        return {5, "Invalid JWT received"};
    }
    const JwtAlgorithm* algorithm = nullptr;
    JwtOutcome outcome = checkHeader(parts->header, algorithm);
    if (!outcome.failed()) {
        outcome = checkSignature(*parts, algorithm, key);
    }
    if (!outcome.failed()) {
        outcome = checkPayload(parts->payload, *algorithm, nameIdClaim, result);
    }
    return outcome;
}

// The trace cuts its lines far below this.
constexpr std::uint64_t kMostTraced = 16384;

}  // namespace

std::int32_t JwtInitialize(SsfFunctionTable* table) {
    if (JwtStarted() || table == nullptr || !prepareSection()) {
        return -1;
    }
    const ThrCSGuard guard(state.section);
    state.cryptoTable = table;
    state.started = true;
    state.functions.resolve();
    return 0;
}

bool JwtStarted() {
    return state.started.load(std::memory_order_acquire);
}

void JwtRelease() {
    const ThrCSGuard guard(state.section);
    state.functions.forget();
    state.knownKeys.forget();
    state.cryptoTable = nullptr;
    state.started = false;
}

std::int32_t JwtEvalToken(const char* token, std::uint64_t tokenLength, const std::uint8_t* key,
                          std::uint64_t keyLength, const char* nameIdClaim, std::uint64_t nameIdClaimLength,
                          JwtResult& result) {
    if (!JwtStarted()) {
        return 10;
    }
    if (const std::int32_t code = prepareJwtResult(result); code != 0) {
        return code;
    }
    const int traced = static_cast<int>(std::min(token != nullptr ? tokenLength : 0, kMostTraced));
    TRACE(3, "Token is the following:      >>>%*.*s<<<\n", traced, traced, token);
    JwtOutcome outcome;
    try {
        outcome = evaluate({token, token != nullptr ? tokenLength : 0}, {key, key != nullptr ? keyLength : 0},
                           {nameIdClaim, nameIdClaim != nullptr ? nameIdClaimLength : 0}, result);
    } catch (const std::bad_alloc&) {
        outcome = {VORAK_NO_MEMORY, "JWT malloc failed"};
    }
    writeJwtErrorText(result, outcome.text);
    return outcome.code;
}

}  // namespace quorvanti

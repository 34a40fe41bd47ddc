// The exported function that evaluates JSON Web Tokens.
#include "base/dptrc/dptrace.h"
#include "sec/jwt/jwt_engine.h"
#include "sec/jwt/jwt_result.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/state.h"

#include <cstddef>
#include <span>
#include <string>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

struct TokenRequest {
    const char* token;
    std::uint64_t tokenLength;
    std::span<const std::uint8_t> key;
    const char* nameIdClaim;
    JwtResult* result;
};

void writeText(JwtResult* result, const char* text) {
    if (result != nullptr) {
        writeJwtErrorText(*result, text);
    }
}

// A record that ends before its error text does.
bool isShort(const JwtResult& result) {
    return !jwtResultReaches(result, offsetof(JwtResult, errorText) + sizeof result.errorText);
}

bool hasPayloadBuffer(const JwtResult* result) {
    return result != nullptr && jwtResultReaches(*result, offsetof(JwtResult, errorText)) &&
           result->payload != nullptr && result->payloadLength != 0;
}

std::string nameOf(const char* claim) {
    std::string name = claim != nullptr ? claim : "";
    for (char& c : name) {
        c = static_cast<unsigned char>(c) < 128 ? c : '#';
    }
    return name;
}

std::int32_t runEngine(const TokenRequest& request) {
    LibraryState& state = libraryState();
    const std::string nameIdClaim = nameOf(request.nameIdClaim);
    const ThrRecMtxGuard lock(state.cryptoLock);
    std::span<const std::uint8_t> key = request.key;
    if (key.empty()) {
        key = std::span(state.ticketKey.keyBytes).first(state.ticketKey.keyLength);
    }
    return JwtEvalToken(request.token, request.tokenLength, key.data(), key.size(), nameIdClaim.data(),
                        nameIdClaim.size(), *request.result);
}

std::int32_t evaluateToken(const TokenRequest& request) {
    if (!requireInitialized()) {
        writeText(request.result, "VorakInitialize must be called first.");
        return VORAK_INVALID;
    }
    if (request.token == nullptr || request.tokenLength == 0) {
        TRACE_ERROR("Missing input buffer pointer for JWT\n");
        writeText(request.result, "Missing input buffer pointer for JWT.");
        return VORAK_MISSING_ARGUMENT;
    }
    if (!hasPayloadBuffer(request.result)) {
        TRACE_ERROR("Missing input buffer pointer for JWT payload\n");
        writeText(request.result, "Missing input buffer pointer for JWT payload.");
        return VORAK_MISSING_ARGUMENT;
    }
    writeText(request.result, "");  // an engine that a shutdown has just released writes none
    const std::int32_t code = runEngine(request);
    if (code == VORAK_OK) {
        return VORAK_OK;
    }
    const bool noText = isShort(*request.result);
    const std::int32_t returned = noText ? VORAK_MISSING_ARGUMENT : VORAK_MALFORMED;
    TRACE_ERROR("Error from JwtEvalToken (rc=%d): %s\n", code, noText ? "" : request.result->errorText);
    TRACE_ERROR("VorakEvalJWToken returns %d.\n", returned);
    return returned;
}

}  // namespace
}  // namespace quorvanti

using namespace quorvanti;

extern "C" {

QUORVANTI_API int32_t VorakEvalJWToken(const char* token, uint64_t tokenLength, const uint8_t* key, uint64_t keyLength,
                                       const char* nameIdClaim, JwtResult* result) {
    return guarded([&] {
        TRACE(3, "VorakEvalJWToken was called, check input\n");
        const std::int32_t code =
            evaluateToken({token, tokenLength, {key, key != nullptr ? keyLength : 0}, nameIdClaim, result});
        TRACE(3, "Cleanup of VorakEvalJWToken\n");
        TRACE(3, "End of function VorakEvalJWToken.\n");
        return code;
    });
}

}  // extern "C"

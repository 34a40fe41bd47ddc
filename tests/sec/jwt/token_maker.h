// Makes tokens for tests, and evaluates them with a fresh record each.
#pragma once

#include "krn/time/clock.h"
#include "sec/jwt/jwt_engine.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvanti::test {

// Six bits at a time, without padding.
inline std::string base64Url(std::string_view bytes) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string text;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char byte : bytes) {
        bits = (bits << 8 | static_cast<unsigned char>(byte)) & 0xFFFF;
        for (count += 8; count >= 6; count -= 6) {
            text += alphabet[bits >> (count - 6) & 0x3F];
        }
    }
    if (count > 0) {
        text += alphabet[bits << (6 - count) & 0x3F];
    }
    return text;
}

// What the crypto double takes for a right signature is any; for an HMAC it is its hashValue.
inline constexpr std::string_view kDoubleMac = "value of the double";
inline constexpr std::string_view kHs256 = R"({"alg":"HS256","typ":"JWT"})";
inline constexpr std::string_view kRs256 = R"({"alg":"RS256","typ":"JWT"})";

inline std::string makeToken(std::string_view header, std::string_view payload,
                             std::string_view signature = kDoubleMac) {
    return base64Url(header) + "." + base64Url(payload) + "." + base64Url(signature);
}

// One evaluation: its record and buffers.
struct Evaluation {
    explicit Evaluation(std::size_t capacity = 4096) : buffer(capacity, '#') {
        std::memset(&result, 0, sizeof result);
        result.structSize = sizeof result;
        result.payload = buffer.data();
        result.payloadLength = capacity;
        std::memset(result.errorText, 'x', sizeof result.errorText);
    }
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;

    std::int32_t run(std::string_view token, std::string_view key = "secret", std::string_view nameIdClaim = {}) {
        return JwtEvalToken(token.data(), token.size(), reinterpret_cast<const std::uint8_t*>(key.data()), key.size(),
                            nameIdClaim.data(), nameIdClaim.size(), result);
    }
    // Code and text together, as in "5 Invalid JWT received"; "0 " is success.
    std::string outcome(std::string_view token, std::string_view key = "secret", std::string_view nameIdClaim = {}) {
        const std::int32_t code = run(token, key, nameIdClaim);
        return std::to_string(code) + " " + result.errorText;
    }
    std::string payload() const { return {result.payload, result.payloadLength}; }
    // A claim that was not there is null with length 0; every other lies in the payload buffer.
    bool inPayload(const char* text, std::uint64_t length) const {
        const char* const end = buffer.data() + result.payloadLength;
        return text == nullptr ? length == 0
                               : text >= buffer.data() && text <= end && length <= static_cast<std::size_t>(end - text);
    }
    std::optional<std::string> claim(const char* text, std::uint64_t length) const {
        if (!inPayload(text, length)) {
            throw std::logic_error("a claim points out of the payload");
        }
        return text == nullptr ? std::nullopt : std::optional(std::string(text, length));
    }
    std::optional<std::string> subject() const { return claim(result.subject, result.subjectLength); }
    std::optional<std::string> issuer() const { return claim(result.issuer, result.issuerLength); }
    std::optional<std::string> jsonId() const { return claim(result.jsonId, result.jsonIdLength); }
    std::optional<std::string> audience() const { return claim(result.audience, result.audienceLength); }
    std::optional<std::string> nameId() const { return claim(result.nameId, result.nameIdLength); }

    void expectSubject(std::string_view text) {
        result.subject = text.data();
        result.subjectLength = text.size();
    }
    void expectIssuer(std::string_view text) {
        result.issuer = text.data();
        result.issuerLength = text.size();
    }
    void expectJsonId(std::string_view text) {
        result.jsonId = text.data();
        result.jsonIdLength = text.size();
    }
    void expectAudience(std::string_view text) {
        result.audience = text.data();
        result.audienceLength = text.size();
    }

    std::string buffer;
    JwtResult result;
};

// The time stands still for the length of a scope.
class FrozenClock {
public:
    explicit FrozenClock(std::int64_t seconds) {
        milliseconds_ = seconds * 1000 + 999;
        setClockSource([] { return milliseconds_; });
    }
    ~FrozenClock() { setClockSource(nullptr); }
    FrozenClock(const FrozenClock&) = delete;
    FrozenClock& operator=(const FrozenClock&) = delete;

private:
    static inline std::int64_t milliseconds_ = 0;
};

}  // namespace quorvanti::test

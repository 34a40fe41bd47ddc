#include "tools/sso2ticket/jwt_verify_command.h"

#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/private_file.h"
#include "tools/sso2ticket/ticket_input.h"
#include "tools/sso2ticket/token_advice.h"
#include "tools/sso2ticket/token_dissection.h"

#include <openssl/crypto.h>
#include <quorvanti/voraksso.h>

#include <algorithm>
#include <array>
#include <ostream>

namespace quorvanti {

namespace {

class KeyBytes {
public:
    explicit KeyBytes(const std::string& file) : bytes_(readWholeFile(file)) {
        if (bytes_.empty()) {
            throw Failure(ExitCode::configuration, "the file " + file + " is empty");
        }
    }
    ~KeyBytes() { OPENSSL_cleanse(bytes_.data(), bytes_.size()); }
    KeyBytes(const KeyBytes&) = delete;
    KeyBytes& operator=(const KeyBytes&) = delete;

    const std::vector<std::uint8_t>& get() const { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
};

struct Expectation {
    const char* claim;
    const std::optional<std::string>& value;
    const char* JwtResult::*field;
    std::uint64_t JwtResult::*length;
};

std::array<Expectation, 4> expectationsOf(const JwtVerifyOptions& options) {
    return {{{"sub", options.subject, &JwtResult::subject, &JwtResult::subjectLength},
             {"iss", options.issuer, &JwtResult::issuer, &JwtResult::issuerLength},
             {"jti", options.jsonId, &JwtResult::jsonId, &JwtResult::jsonIdLength},
             {"aud", options.audience, &JwtResult::audience, &JwtResult::audienceLength}}};
}

struct Verdict {
    ExitCode exit = ExitCode::accepted;
    std::int32_t code = VORAK_OK;
    std::string reason;
    std::string next;
    std::string algorithm;
    std::string payload;
    std::optional<std::string> nameId;
};

Verdict refused(const std::string& reason, const std::string& next) {
    return {ExitCode::rejected, VORAK_MALFORMED, reason, next, {}, {}, {}};
}

Verdict evaluate(const std::string& token, const KeyBytes& key, const JwtVerifyOptions& options) {
    constexpr std::array<const char*, 7> algorithms{"", "HS256", "HS384", "HS512", "RS256", "RS384", "RS512"};
    std::string payload(token.size(), '\0');
    JwtResult result{};
    result.structSize = sizeof result;
    result.payload = payload.data();
    result.payloadLength = payload.size();
    for (const Expectation& expected : expectationsOf(options)) {
        if (expected.value) {
            result.*expected.field = expected.value->c_str();
            result.*expected.length = expected.value->size();
        }
    }
    const std::int32_t code = VorakEvalJWToken(token.data(), token.size(), key.get().data(), key.get().size(),
                                               options.nameIdClaim.c_str(), &result);
    if (code != VORAK_OK) {
        const Explanation explanation = explain(code);
        const std::string reason = result.errorText[0] != '\0' ? result.errorText : explanation.meaning;
        return {explanation.exit,
                code,
                reason,
                code == VORAK_MALFORMED ? tokenAdvice(reason) : explanation.next,
                {},
                {},
                {}};
    }
    Verdict verdict;
    verdict.algorithm = algorithms.at(result.algorithm);
    if (result.nameId != nullptr) {
        verdict.nameId.emplace(result.nameId, result.nameIdLength);
    }
    payload.resize(result.payloadLength);
    verdict.payload = std::move(payload);
    return verdict;
}

// Everybody has the issuer's public key: it must not pass for a secret, in whatever form the file holds it.
std::optional<Verdict> refuseOtherKind(const std::string& algorithm, const JwtVerifyOptions& options) {
    if (algorithm.starts_with("HS") && !options.keyFile.empty()) {
        return refused("The token is signed with a secret (" + algorithm.substr(0, 5) + "), and --key was given.",
                       "Give the secret with --secret-file, if the issuer signs with one. If it does not, refuse the "
                       "token: somebody forges tokens.");
    }
    if (algorithm.starts_with("RS") && !options.secretFile.empty()) {
        return refused(
            "The token is signed with an RSA key (" + algorithm.substr(0, 5) + "), and --secret-file was given.",
            "Give the issuer's certificate or public key with --key.");
    }
    return std::nullopt;
}

bool says(const Json& claims, const Expectation& expected) {
    const auto claim = claims.find(expected.claim);
    if (claim == claims.end()) {
        return false;
    }
    const Json value(*expected.value);
    const bool mayBeSeveral = std::string_view(expected.claim) == "aud";
    return *claim == value ||
           (mayBeSeveral && claim->is_array() && std::find(claim->begin(), claim->end(), value) != claim->end());
}

// The library measures an expected audience only, and finds a claim wherever it stands in the payload.
std::optional<Verdict> refuseOtherClaims(const TokenJson& payload, const JwtVerifyOptions& options) {
    for (const Expectation& expected : expectationsOf(options)) {
        if (!expected.value) {
            continue;
        }
        const std::string claim = std::string("\"") + expected.claim + "\"";
        if (!payload.object || !payload.problem.empty()) {
            return refused("The expected " + claim + " cannot be compared: the payload " + payload.problem + ".",
                           tokenAdvice(""));
        }
        if (!says(*payload.object, expected)) {
            return refused("The token's " + claim + " is not the expected one.",
                           "If the token was made for somebody else, refuse it; else give the option --expect-" +
                               std::string(expected.claim) + " what the issuer puts into the token.");
        }
    }
    return std::nullopt;
}

std::string asText(const Verdict& verdict, const TokenJson& payload) {
    if (verdict.exit != ExitCode::accepted) {
        return "rejected\n" + row("code", std::to_string(verdict.code)) + row("reason", verdict.reason) +
               row("look at", verdict.next);
    }
    return "accepted\n" + row("algorithm", verdict.algorithm) +
           (verdict.nameId ? row("name id", *verdict.nameId) : "") +
           (payload.object ? claimsText(*payload.object) : row("payload", verdict.payload));
}

Json asJson(const Verdict& verdict, const TokenJson& payload) {
    if (verdict.exit != ExitCode::accepted) {
        return {{"accepted", false}, {"code", verdict.code}, {"reason", verdict.reason}, {"next", verdict.next}};
    }
    Json json = {{"accepted", true}, {"algorithm", verdict.algorithm}};
    json["nameId"] = verdict.nameId ? Json(*verdict.nameId) : Json();
    json["claims"] = payload.object ? *payload.object : Json();
    json.update(timesJson(payload.object ? *payload.object : Json::object()));
    return json;
}

}  // namespace

ExitCode verifyToken(const JwtVerifyOptions& options, std::istream& in, std::ostream& out) {
    const std::string token = readToken(options.token, in);
    const KeyBytes key(options.keyFile.empty() ? options.secretFile : options.keyFile);
    const LibrarySession session(options.session);
    TokenJson payload;
    Verdict verdict;
    if (auto other = refuseOtherKind(algorithmOf(dissectToken(token)), options)) {
        verdict = std::move(*other);
    } else {
        verdict = evaluate(token, key, options);
    }
    if (verdict.exit == ExitCode::accepted) {
        payload = readTokenJson(verdict.payload);
        if (auto kind = refuseOtherKind(verdict.algorithm, options)) {
            verdict = std::move(*kind);
        } else if (auto claims = refuseOtherClaims(payload, options)) {
            verdict = std::move(*claims);
        }
    }
    out << (options.json ? dump(asJson(verdict, payload)) : asText(verdict, payload));
    return verdict.exit;
}

}  // namespace quorvanti

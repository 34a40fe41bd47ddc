#include "tools/sso2ticket/token_dissection.h"

#include "sec/jwt/base64url.h"

#include <algorithm>
#include <set>

namespace quorvanti {

namespace {

constexpr int deepest = 64;
constexpr std::size_t mostNames = 1000;
constexpr std::int64_t lastShownSecond = 253402300799;  // of the year 9999

struct Time {
    const char* claim;
    const char* name;
    const char* jsonName;
};

constexpr Time times[] = {
    {"iat", "issued", "issuedAt"}, {"nbf", "not before", "notBefore"}, {"exp", "expires", "expires"}};

struct NotShown {
    const char* why;
};

std::optional<std::string> decoded(std::string_view part) {
    std::string bytes(base64UrlRoom(part.size()), '\0');
    const auto length = decodeBase64Url(part, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()});
    if (!length) {
        return std::nullopt;
    }
    bytes.resize(*length);
    return bytes;
}

std::optional<std::int64_t> timeOf(const Json& claims, const char* name) {
    const auto found = claims.find(name);
    if (found == claims.end() || !found->is_number_integer()) {
        return std::nullopt;
    }
    const bool tooLarge = found->is_number_unsigned() && found->get<std::uint64_t>() > lastShownSecond;
    const std::int64_t seconds = tooLarge ? -1 : found->get<std::int64_t>();
    return seconds >= 0 ? std::optional(seconds) : std::nullopt;
}

std::string shown(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Fills in one part that is a JSON object; the first problem stays.
void readPart(const char* name, std::string_view part, std::optional<Json>& object, std::string& problem) {
    std::string found;
    if (const auto text = decoded(part)) {
        TokenJson json = readTokenJson(*text);
        object = std::move(json.object);
        found = json.problem;
    } else {
        found = "is not base64url";
    }
    if (problem.empty() && !found.empty()) {
        problem = std::string("the ") + name + " " + found;
    }
}

}  // namespace

TokenJson readTokenJson(std::string_view text) {
    TokenJson result;
    std::set<std::string> names;
    std::size_t count = 0;
    const auto look = [&](int depth, Json::parse_event_t event, const Json& value) {
        if (depth > deepest) {
            throw NotShown{"is nested too deep to be shown"};
        }
        if (event == Json::parse_event_t::key) {
            if (++count > mostNames) {
                throw NotShown{"has too many names to be shown"};
            }
            if (depth == 1 && !names.insert(value.get<std::string>()).second && result.problem.empty()) {
                result.problem = "has the name " + value.dump() + " twice";
            }
        }
        return true;
    };
    try {
        Json object = Json::parse(text, look, false);
        if (object.is_object()) {
            result.object = std::move(object);
        } else {
            result.problem = "is no JSON object";
        }
    } catch (const NotShown& reason) {
        result.problem = reason.why;
    }
    return result;
}

TokenDissection dissectToken(std::string_view token) {
    TokenDissection result;
    const std::size_t first = token.find('.');
    const std::size_t second = first == std::string_view::npos ? first : token.find('.', first + 1);
    readPart("header", token.substr(0, first), result.header, result.problem);
    if (second == std::string_view::npos) {
        result.problem = "the text has no three parts with dots between them";
        return result;
    }
    readPart("payload", token.substr(first + 1, second - first - 1), result.claims, result.problem);
    if (const auto signature = decoded(token.substr(second + 1))) {
        result.signatureLength = signature->size();
    } else if (result.problem.empty()) {
        result.problem = "the signature is not base64url";
    }
    return result;
}

std::string algorithmOf(const TokenDissection& token) {
    if (!token.header || !token.header->contains("alg") || !(*token.header)["alg"].is_string()) {
        return "";
    }
    return (*token.header)["alg"].get<std::string>();
}

std::string claimsText(const Json& claims) {
    std::string text;
    for (const auto& [name, value] : claims.items()) {
        text += row("claim " + printable(name), shown(value));
    }
    for (const Time& time : times) {
        if (const auto seconds = timeOf(claims, time.claim)) {
            text += row(time.name, utcText(*seconds));
        }
    }
    return text;
}

Json timesJson(const Json& claims) {
    Json json = Json::object();
    for (const Time& time : times) {
        const auto seconds = timeOf(claims, time.claim);
        json[time.jsonName] = seconds ? Json(utcText(*seconds)) : Json();
    }
    return json;
}

}  // namespace quorvanti

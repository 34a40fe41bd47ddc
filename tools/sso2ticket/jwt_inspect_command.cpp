#include "tools/sso2ticket/jwt_inspect_command.h"

#include "tools/sso2ticket/ticket_input.h"
#include "tools/sso2ticket/token_dissection.h"

#include <ostream>

namespace quorvanti {

namespace {

std::string asText(const TokenDissection& token) {
    std::string text = "UNVERIFIED: nobody has checked that this token is genuine\n";
    if (token.header) {
        text += row("algorithm", algorithmOf(token)) +
                row("header", token.header->dump(-1, ' ', false, Json::error_handler_t::replace));
    }
    if (token.claims) {
        text += claimsText(*token.claims);
    }
    if (token.signatureLength) {
        text += row("signature", std::to_string(*token.signatureLength) + " bytes");
    }
    return text + (token.problem.empty() ? "" : row("malformed", token.problem));
}

Json asJson(const TokenDissection& token) {
    Json json = {{"status", "UNVERIFIED"},
                 {"verified", false},
                 {"wellFormed", token.problem.empty()},
                 {"problem", token.problem},
                 {"algorithm", algorithmOf(token)}};
    json["header"] = token.header ? *token.header : Json();
    json["claims"] = token.claims ? *token.claims : Json();
    json.update(timesJson(token.claims ? *token.claims : Json::object()));
    json["signatureLength"] = token.signatureLength ? Json(*token.signatureLength) : Json();
    return json;
}

}  // namespace

ExitCode inspectToken(const JwtInspectOptions& options, std::istream& in, std::ostream& out) {
    const TokenDissection token = dissectToken(readToken(options.token, in));
    out << (options.json ? dump(asJson(token)) : asText(token));
    return token.problem.empty() ? ExitCode::accepted : ExitCode::rejected;
}

}  // namespace quorvanti

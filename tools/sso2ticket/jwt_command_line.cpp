#include "tools/sso2ticket/command_line_parts.h"
#include "tools/sso2ticket/jwt_inspect_command.h"
#include "tools/sso2ticket/jwt_verify_command.h"
#include "tools/sso2ticket/option_groups.h"

#include <memory>

namespace quorvanti {

namespace {

void addToken(CLI::App& command, std::string& token) {
    command.add_option("token", token, "The token's text, @FILE, or - for standard input")->required();
}

CLI::Validator notEmpty() {
    return {[](std::string& text) { return text.empty() ? "an empty text expects nothing" : std::string(); }, ""};
}

void addVerifyToken(CLI::App& jwt, Action& action) {
    const auto options = std::make_shared<JwtVerifyOptions>();
    CLI::App* command = jwt.add_subcommand("verify", "Evaluate a token: signature, times, expected claims");
    addToken(*command, options->token);
    CLI::Option_group* key = command->add_option_group("key", "Whose signature it must be");
    key->add_option("--key", options->keyFile, "The issuer's RSA certificate or public key, DER or PEM file");
    key->add_option("--secret-file", options->secretFile, "File whose bytes, all of them, are the issuer's secret");
    key->require_option(1);
    command->add_option("--expect-sub", options->subject, "The subject that the token must name")->check(notEmpty());
    command->add_option("--expect-iss", options->issuer, "The issuer that the token must name")->check(notEmpty());
    command->add_option("--expect-aud", options->audience, "The audience that the token must name, alone or in a list")
        ->check(notEmpty());
    command->add_option("--expect-jti", options->jsonId, "The id that the token must have")->check(notEmpty());
    command->add_option("--name-id", options->nameIdClaim, "Name of a further claim that the token must have")
        ->check(notEmpty());
    addJson(*command, options->json);
    addSession(*command, options->session);
    command->callback([options, &action] {
        action = [options](std::istream& in, std::ostream& out) { return verifyToken(*options, in, out); };
    });
}

void addInspectToken(CLI::App& jwt, Action& action) {
    const auto options = std::make_shared<JwtInspectOptions>();
    CLI::App* command = jwt.add_subcommand("inspect", "Show what a token says; nothing is verified");
    addToken(*command, options->token);
    addJson(*command, options->json);
    command->callback([options, &action] {
        action = [options](std::istream& in, std::ostream& out) { return inspectToken(*options, in, out); };
    });
}

}  // namespace

void addJwt(CLI::App& app, Action& action) {
    CLI::App* jwt = app.add_subcommand("jwt", "Evaluate and show JSON Web Tokens");
    jwt->require_subcommand(1);
    addVerifyToken(*jwt, action);
    addInspectToken(*jwt, action);
}

}  // namespace quorvanti

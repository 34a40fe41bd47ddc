#include "tools/sso2ticket/command_line_parts.h"
#include "tools/sso2ticket/create_command.h"
#include "tools/sso2ticket/option_groups.h"

#include <memory>

namespace quorvanti {

namespace {

constexpr const char* footer =
    "The ticket is valid for two minutes from now. Its text has \"!\" in place of \"+\": the receiver turns it back "
    "before it\n"
    "evaluates the ticket, as verify does.";

void addContents(CLI::App& command, CreateOptions& options) {
    command.add_option("--system-id", options.systemId, "System id of the issuer")
        ->required()
        ->check(upTo(8, "a system id has up to eight characters"));
    command.add_option("--client", options.client, "Client of the issuer")
        ->required()
        ->check(upTo(3, "a client has up to three characters"));
    command.add_option("--recipient-system-id", options.recipientSystemId, "System that the ticket is for")
        ->required()
        ->check(upTo(8, "a system id has up to eight characters"));
    command.add_option("--recipient-client", options.recipientClient, "Client that the ticket is for")
        ->required()
        ->check(upTo(3, "a client has up to three characters"));
    command.add_option("--user", options.user, "The user")->check(upTo(36, "a user has up to 36 bytes"));
    command.add_option("--portal-user", options.portalUser, "The user of the issuing portal")
        ->check(upTo(249, "a portal user has up to 249 bytes"));
    command.add_option("--language", options.language, "Logon language, one character")
        ->check(upTo(1, "a language has one character"));
    command.add_option("--auth-scheme", options.authScheme, "Name of the authentication scheme")
        ->check(upTo(256, "an authentication scheme has up to 256 bytes"));
    command.add_option("--code-page", options.codePage, "Code page of the texts given, such as 1100")
        ->capture_default_str()
        ->check(codePage());
}

}  // namespace

void addCreate(CLI::App& app, Action& action) {
    const auto options = std::make_shared<CreateOptions>();
    CLI::App* command = app.add_subcommand("create", "Issue an assertion ticket for another system");
    command->footer(footer);
    addContents(*command, *options);
    command->add_option("--profile", options->profile, "Key store with the signing key: PKCS#12 or PEM file")
        ->required();
    addPassword(*command, options->password);
    command->add_option("--hash", options->hash, "Hash for signing (default: SSF_HASH, else SHA256)");
    command->add_flag("--include-certificate", options->includeCertificate, "Let the ticket carry the certificate");
    addJson(*command, options->json);
    addSession(*command, options->session);
    command->callback([options, &action] {
        if (options->user.empty() && options->portalUser.empty()) {
            throw CLI::RequiredError("--user or --portal-user");
        }
        action = [options](std::istream&, std::ostream& out) { return createTicket(*options, out); };
    });
}

}  // namespace quorvanti

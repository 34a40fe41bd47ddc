#include "tools/sso2ticket/command_line_parts.h"
#include "tools/sso2ticket/option_groups.h"
#include "tools/sso2ticket/verify_command.h"

#include <memory>

namespace quorvanti {

namespace {

constexpr const char* verifyFooter =
    "The result goes to standard output, everything else to standard error. Exit codes: 0 accepted, 1 rejected, 2 "
    "usage,\n"
    "3 input unreadable or output not writable, 4 key store or configuration, 5 crypto library unavailable.\n"
    "\n"
    "Assertion tickets travel with \"!\" in place of \"+\". This program turns each \"!\" back; the library itself "
    "does not\n"
    "and answers such a text with 1281, so a program that calls it has to do the same first.";

}  // namespace

void addVerify(CLI::App& app, Action& action) {
    const auto options = std::make_shared<VerifyOptions>();
    CLI::App* verify = app.add_subcommand("verify", "Evaluate a ticket: signature, age, recipient");
    verify->footer(verifyFooter);
    CLI::Option* ticket =
        verify->add_option("ticket", options->ticket, "The ticket's text, @FILE, or - for standard input");
    CLI::Option* file = verify->add_option_function<std::string>(
        "--file", [options](const std::string& name) { options->ticket = "@" + name; }, "File with the ticket's text");
    ticket->excludes(file);
    verify
        ->add_option("--profile", options->request.profile,
                     "Key store with the trusted issuers: PKCS#12, PEM or DER file")
        ->required();
    addPassword(*verify, options->password);
    verify->add_flag("--assertion", options->request.assertion,
                     "Evaluate as an assertion ticket (default: logon ticket)");
    verify->add_option("--system-id", options->request.systemId, "System id of the receiving system")
        ->check(upTo(8, "a system id has up to eight characters"));
    verify->add_option("--client", options->request.client, "Client of the receiving system")
        ->check(upTo(3, "a client has up to three characters"));
    verify->add_flag("--explain", options->explain, "Show the checks one by one: passed, failed or not reached");
    CLI::Option* json = verify->add_flag("--json", options->json, "Print the result as JSON");
    verify->add_option("--code-page", options->request.codePage, "Code page of the texts printed, such as 1100")
        ->capture_default_str()
        ->excludes(json)
        ->check(codePage());
    addSession(*verify, options->session);
    verify->callback([options, &action] {
        if (options->ticket.empty()) {
            throw CLI::RequiredError("ticket");
        }
        action = [options](std::istream& in, std::ostream& out) {
            return quorvanti::verify(std::move(*options), in, out);
        };
    });
}

}  // namespace quorvanti

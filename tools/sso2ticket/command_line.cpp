#include "tools/sso2ticket/command_line.h"

#include "tools/sso2ticket/cert_command.h"
#include "tools/sso2ticket/command_line_parts.h"
#include "tools/sso2ticket/completion_command.h"
#include "tools/sso2ticket/doctor_command.h"
#include "tools/sso2ticket/error_command.h"
#include "tools/sso2ticket/inspect_command.h"
#include "tools/sso2ticket/option_groups.h"

#include <memory>

namespace quorvanti {

namespace {

void addInspect(CLI::App& app, Action& action) {
    const auto options = std::make_shared<InspectOptions>();
    CLI::App* command = app.add_subcommand("inspect", "Show what a ticket says; nothing is verified");
    command->add_option("ticket", options->ticket, "The ticket's text, @FILE, or - for standard input")->required();
    addJson(*command, options->json);
    command->callback([options, &action] {
        action = [options](std::istream& in, std::ostream& out) { return inspect(*options, in, out); };
    });
}

void addError(CLI::App& app, Action& action) {
    const auto options = std::make_shared<ErrorOptions>();
    CLI::App* command = app.add_subcommand("error", "Explain a return code: its meaning, causes, what to do");
    command->add_option("code", options->code, "Decimal, hexadecimal with 0x, or a name")->required();
    addJson(*command, options->json);
    command->callback([options, &action] {
        action = [options](std::istream&, std::ostream& out) { return explainError(*options, out); };
    });
}

void addCert(CLI::App& app, Action& action) {
    const auto options = std::make_shared<CertOptions>();
    CLI::App* command = app.add_subcommand("cert", "Show the attributes of certificates");
    command->add_option("file", options->file, "File with certificates, DER, PEM or base64, or - for standard input")
        ->required();
    command->add_option("--attribute", options->attribute, "Only this one: SUBJECT, ISSUER, SERIALNO, VALIDITY ...");
    addJson(*command, options->json);
    addSession(*command, options->session);
    command->callback([options, &action] {
        action = [options](std::istream& in, std::ostream& out) { return showCertificates(*options, in, out); };
    });
}

void addDoctor(CLI::App& app, Action& action) {
    const auto options = std::make_shared<DoctorOptions>();
    CLI::App* command = app.add_subcommand("doctor", "Look at everything around a ticket that can be wrong");
    command->add_option("--profile", options->profile, "Key store to look at: PKCS#12, PEM or DER file");
    addPassword(*command, options->password);
    command->add_option("--crypto-library", options->cryptoLibrary,
                        "Crypto library (default: SSF_LIB, else the one beside the library)");
    command->add_option("--trace", options->traceFile,
                        "Trace file to try (default: KAV_EXT_TRC); nothing in it is touched");
    addJson(*command, options->json);
    command->callback(
        [options, &action] { action = [options](std::istream&, std::ostream& out) { return doctor(*options, out); }; });
}

void addCompletion(CLI::App& app, Action& action) {
    const auto shell = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("completion", "Print what a shell needs to complete the program's words");
    command->add_option("shell", *shell, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    command->callback([shell, &app, &action] {
        action = [shell, &app](std::istream&, std::ostream& out) { return printCompletion(app, *shell, out); };
    });
}

}  // namespace

void addCommands(CLI::App& app, Action& action) {
    // The same command lines everywhere: what begins with a slash is a file's name, or a ticket.
    app.allow_windows_style_options(false);
    addVerify(app, action);
    addInspect(app, action);
    addCreate(app, action);
    addCert(app, action);
    addKeystore(app, action);
    addJwt(app, action);
    addError(app, action);
    addDoctor(app, action);
    addCompletion(app, action);
}

}  // namespace quorvanti

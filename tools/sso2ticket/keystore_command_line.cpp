#include "tools/sso2ticket/command_line_parts.h"
#include "tools/sso2ticket/keystore_command.h"
#include "tools/sso2ticket/option_groups.h"

#include <memory>

namespace quorvanti {

namespace {

CLI::App* add(CLI::App& keystore, const char* name, const char* description, KeystoreOptions& options) {
    CLI::App* command = keystore.add_subcommand(name, description);
    command->add_option("file", options.file, "The key store")->required();
    addPassword(*command, options.password);
    return command;
}

void addNew(CLI::App& keystore, Action& action) {
    const auto options = std::make_shared<KeystoreCreateOptions>();
    CLI::App* command =
        add(keystore, "create", "Make a key and a certificate that it signs itself, as PKCS#12", *options);
    command->add_option("--subject", options->subject, "The owner's name, such as \"CN=PRD, O=Company, C=DE\"")
        ->required();
    command->add_option("--key", options->keyType, "rsa-3072 or ec-p256")
        ->capture_default_str()
        ->check(CLI::IsMember({"rsa-3072", "ec-p256"}));
    command->add_option("--days", options->days, "How long the certificate is valid")
        ->capture_default_str()
        ->check(CLI::Range(1, 36500));
    addJson(*command, options->json);
    command->callback([options, &action] {
        action = [options](std::istream&, std::ostream& out) { return createKeystore(*options, out); };
    });
}

void addList(CLI::App& keystore, Action& action) {
    const auto options = std::make_shared<KeystoreOptions>();
    CLI::App* command = add(keystore, "list", "Show the certificates in a key store: PKCS#12, PEM or DER", *options);
    addJson(*command, options->json);
    command->callback([options, &action] {
        action = [options](std::istream&, std::ostream& out) { return listKeystore(*options, out); };
    });
}

void addAddTrusted(CLI::App& keystore, Action& action) {
    const auto options = std::make_shared<KeystoreTrustOptions>();
    CLI::App* command = add(keystore, "add-trusted", "Trust the certificates in a file: PEM or DER", *options);
    command
        ->add_option("certificates", options->certificates, "The file with the certificates, or - for standard input")
        ->required();
    command->add_flag("--create", options->create, "Make the key store if there is none");
    addJson(*command, options->json);
    command->callback([options, &action] {
        action = [options](std::istream& in, std::ostream& out) { return addTrusted(*options, in, out); };
    });
}

void addExport(CLI::App& keystore, Action& action) {
    const auto options = std::make_shared<KeystoreExportOptions>();
    CLI::App* command = add(keystore, "export-certificate", "Write a certificate to standard output", *options);
    command->add_option("--number", options->number, "Which one, as list counts them")->capture_default_str();
    command->add_flag("--der", options->der, "As DER (default: PEM)");
    command->callback([options, &action] {
        action = [options](std::istream&, std::ostream& out) { return exportCertificate(*options, out); };
    });
}

void addChangePassword(CLI::App& keystore, Action& action) {
    const auto options = std::make_shared<KeystorePasswordOptions>();
    CLI::App* command = add(keystore, "change-password", "Give a PKCS#12 key store another password", *options);
    addPassword(*command, options->newPassword, "new-");
    addJson(*command, options->json);
    command->callback([options, &action] {
        action = [options](std::istream&, std::ostream& out) { return changePassword(*options, out); };
    });
}

}  // namespace

void addKeystore(CLI::App& app, Action& action) {
    CLI::App* keystore = app.add_subcommand("keystore", "Make and keep key stores");
    keystore->require_subcommand(1);
    addNew(*keystore, action);
    addList(*keystore, action);
    addAddTrusted(*keystore, action);
    addExport(*keystore, action);
    addChangePassword(*keystore, action);
}

}  // namespace quorvanti

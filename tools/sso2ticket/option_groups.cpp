#include "tools/sso2ticket/option_groups.h"

namespace quorvanti {

CLI::Option_group* addPassword(CLI::App& command, PasswordSource& password, const std::string& prefix) {
    const std::string option = "--" + prefix + "password-";
    const std::string what = prefix.empty() ? "password" : "new password";
    CLI::Option_group* group =
        command.add_option_group(prefix + "password", "The key store's " + what + ", if it has one");
    group->add_option(option + "file", password.file, "File whose first line is the " + what);
    group->add_option(option + "env", password.environment, "Environment variable that holds the " + what);
    group->add_flag(option + "prompt", password.prompt, "Ask for the " + what + " on the terminal");
    group->require_option(0, 1);
    return group;
}

void addSession(CLI::App& command, SessionSettings& session) {
    command.add_option("--crypto-library", session.cryptoLibrary,
                       "Crypto library (default: SSF_LIB, else the one beside the library)");
    CLI::Option* trace = command.add_option("--trace", session.traceFile, "Write the library's trace to a file");
    session.traceLevel = "1";
    command.add_option("--trace-level", session.traceLevel, "0 banner, 1 errors, 2 steps, 3 everything")
        ->capture_default_str()
        ->check(CLI::IsMember({"0", "1", "2", "3"}))
        ->needs(trace);
}

void addJson(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Print the result as JSON");
}

CLI::Validator upTo(std::size_t limit, const std::string& what) {
    return {[limit, what](std::string& text) { return text.size() <= limit ? std::string() : what; }, ""};
}

CLI::Validator codePage() {
    return {[](std::string& page) {
                const bool digits = page.size() == 4 && page.find_first_not_of("0123456789") == std::string::npos;
                return digits ? "" : "a code page has four digits";
            },
            ""};
}

}  // namespace quorvanti

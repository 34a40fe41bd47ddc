#include "tools/sso2ticket/command_line.h"
#include "tools/sso2ticket/console.h"
#include "tools/sso2ticket/failure.h"

#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace quorvanti;

// Names options only: what else stands there may be a ticket, a token or a password.
std::string namesOf(const std::vector<std::string>& words) {
    constexpr std::size_t longest = 32;
    std::string names;
    std::size_t others = 0;
    for (const std::string& word : words) {
        const std::string name = word.substr(0, word.find('='));
        if (name.starts_with("--") && name.size() > 2 && name.size() <= longest) {
            names += " " + name;
        } else {
            ++others;
        }
    }
    return names + (others > 0 ? " (" + std::to_string(others) + " not shown: no option)" : "");
}

int run(int argc, char** argv) {
    CLI::App app("Works with single-sign-on tickets on the command line.", "sso2ticket");
    app.set_version_flag("--version", "sso2ticket " QUORVANTI_VERSION);
    app.require_subcommand(1);
    Action action;
    addCommands(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError&) {
        std::cerr << "These arguments were not expected:" << namesOf(app.remaining(true))
                  << "\nRun with --help for more information.\n";
        return static_cast<int>(ExitCode::usage);
    } catch (const CLI::ParseError& error) {
        const int exit = app.exit(error, std::cout, std::cerr);
        return static_cast<int>(exit == 0 ? ExitCode::accepted : ExitCode::usage);
    }
    readBytesAsTheyAre();  // a certificate may come that way
    return static_cast<int>(action(std::cin, std::cout));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const Failure& failure) {
        std::cerr << "sso2ticket: " << failure.what() << '\n';
        return static_cast<int>(failure.exit());
    } catch (const std::exception& error) {
        std::cerr << "sso2ticket: " << error.what() << '\n';
        return static_cast<int>(ExitCode::configuration);
    }
}

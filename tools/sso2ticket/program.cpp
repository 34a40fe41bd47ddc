#include "tools/sso2ticket/program.h"

#include "tools/sso2ticket/command_line.h"
#include "tools/sso2ticket/console.h"
#include "tools/sso2ticket/failure.h"

#include <iostream>
#include <string>
#include <vector>

namespace quorvanti {

namespace {

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
    return names + (others > 0 ? " (" + std::to_string(others) + " not shown: no option or command)" : "");
}

ExitCode parseAndRun(int argc, char** argv, const char* version) {
    CLI::App app("Works with single-sign-on tickets on the command line.", "sso2ticket");
    app.set_version_flag("--version", std::string("sso2ticket ") + version);
    app.require_subcommand(1);
    Action action;
    addCommands(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool wrong = error.get_exit_code() != 0;  // --help and --version come this way too
        if (const std::vector<std::string> words = app.remaining(true); wrong && !words.empty()) {
            // A mistyped word is why something else is missing: it is told first.
            std::cerr << "These arguments were not expected:" << namesOf(words) << '\n';
        }
        if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {  // its own text shows every word
            std::cerr << "Run with --help for more information.\n";
        } else {
            app.exit(error, std::cout, std::cerr);
        }
        return wrong ? ExitCode::usage : ExitCode::accepted;
    }
    readBytesAsTheyAre();  // a certificate may come that way
    return action(std::cin, std::cout);
}

}  // namespace

ExitCode runProgram(int argc, char** argv, const char* version) {
    const ExitCode exit = parseAndRun(argc, argv, version);
    if (!std::cout.flush()) {  // what nobody received must not pass for done
        throw Failure(ExitCode::inputUnreadable, "standard output cannot be written");
    }
    return exit;
}

}  // namespace quorvanti

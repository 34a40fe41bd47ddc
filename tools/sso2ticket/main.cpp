#include "tools/sso2ticket/command_line.h"
#include "tools/sso2ticket/failure.h"

#include <iostream>

namespace {

using namespace quorvanti;

int run(int argc, char** argv) {
    CLI::App app("Works with single-sign-on tickets on the command line.", "sso2ticket");
    app.set_version_flag("--version", "sso2ticket " QUORVANTI_VERSION);
    app.require_subcommand(1);
    Action action;
    addCommands(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int exit = app.exit(error, std::cout, std::cerr);
        return static_cast<int>(exit == 0 ? ExitCode::accepted : ExitCode::usage);
    }
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

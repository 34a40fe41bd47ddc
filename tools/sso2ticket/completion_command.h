// sso2ticket completion: what a shell needs to complete the program's words, made from the options themselves.
#pragma once

#include "tools/sso2ticket/exit_code.h"

#include <CLI/CLI.hpp>

#include <iosfwd>
#include <string>
#include <vector>

namespace quorvanti {

struct CompletionOption {
    std::string name;  // "--json"
    std::string description;
    bool takesValue = false;
};

struct CompletionCommand {
    std::string words;  // "keystore list"; empty for the program itself
    std::string description;
    std::vector<std::string> subcommands;
    std::vector<CompletionOption> options;
};

// The program first, each command before its subcommands.
std::vector<CompletionCommand> commandsOf(const CLI::App& app);

// shell: bash, zsh or fish
ExitCode printCompletion(const CLI::App& app, const std::string& shell, std::ostream& out);

}  // namespace quorvanti

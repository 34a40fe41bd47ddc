// Every command with its options.
#pragma once

#include "tools/sso2ticket/action.h"

#include <CLI/CLI.hpp>

namespace quorvanti {

// Parsing leaves in `action` what is to be done. Both must outlive the parse.
void addCommands(CLI::App& app, Action& action);

}  // namespace quorvanti

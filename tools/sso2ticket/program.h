// The whole program between main and what a command does.
#pragma once

#include "tools/sso2ticket/exit_code.h"

namespace quorvanti {

// Throws Failure, and what a command throws.
ExitCode runProgram(int argc, char** argv, const char* version);

}  // namespace quorvanti

// sso2ticket error: what a return code means, why it comes up and what to do.
#pragma once

#include "tools/sso2ticket/exit_code.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct ErrorOptions {
    std::string code;  // decimal, hexadecimal with 0x, or a name
    bool json = false;
};

// Throws Failure for what is neither a number nor a known name. Rejected: the catalogue does not have the code.
ExitCode explainError(const ErrorOptions& options, std::ostream& out);

}  // namespace quorvanti

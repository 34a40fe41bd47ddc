// sso2ticket jwt inspect: what a JSON Web Token says, without believing it.
#pragma once

#include "tools/sso2ticket/exit_code.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct JwtInspectOptions {
    std::string token;  // the text, "@file" or "-"
    bool json = false;
};

// Rejected: the token is malformed; what could be read is printed.
ExitCode inspectToken(const JwtInspectOptions& options, std::istream& in, std::ostream& out);

}  // namespace quorvanti

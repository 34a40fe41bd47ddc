// sso2ticket inspect: what a ticket says, without believing it.
#pragma once

#include "tools/sso2ticket/exit_code.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct InspectOptions {
    std::string ticket;  // the text, "@file" or "-"
    bool json = false;
};

// Rejected: the ticket is malformed; what could be read is printed.
ExitCode inspect(const InspectOptions& options, std::istream& in, std::ostream& out);

}  // namespace quorvanti

// What the command line has chosen to be done.
#pragma once

#include "tools/sso2ticket/exit_code.h"

#include <functional>
#include <iosfwd>

namespace quorvanti {

using Action = std::function<ExitCode(std::istream& in, std::ostream& out)>;

}  // namespace quorvanti

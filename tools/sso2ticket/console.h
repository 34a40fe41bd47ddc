// The terminal that somebody sits at.
#pragma once

#include "tools/sso2ticket/secret.h"

#include <string>

namespace quorvanti {

// Asks on the terminal, whatever standard input and output are, and reads a line without showing it. Throws Failure
// when there is no terminal.
Secret askForSecret(const std::string& prompt);

}  // namespace quorvanti

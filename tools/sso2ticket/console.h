// The terminal that somebody sits at.
#pragma once

#include "tools/sso2ticket/secret.h"

#include <string>

namespace quorvanti {

// Asks on the terminal, whatever standard input and output are, and reads a line without showing it. Throws Failure
// when there is no terminal.
Secret askForSecret(const std::string& prompt);

// From here on standard output takes bytes as they are.
void writeBytesAsTheyAre();

}  // namespace quorvanti

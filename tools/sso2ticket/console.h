// The terminal that somebody sits at, and the standard streams.
#pragma once

#include "tools/sso2ticket/secret.h"

#include <string>

namespace quorvanti {

// Asks on the terminal, whatever standard input and output are, and reads a line without showing it. Throws Failure
// when there is no terminal.
Secret askForSecret(const std::string& prompt);

// From here on the standard stream gives or takes bytes as they are.
void readBytesAsTheyAre();
void writeBytesAsTheyAre();

}  // namespace quorvanti

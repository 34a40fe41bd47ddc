// The libcrypto that the tool uses for itself.
#pragma once

namespace quorvanti {

// Before its first use. Where it is linked into the program it reads no configuration file: the place where it would
// look is one that any user may make, and the file may name libraries to load. Where it is the system's, it is
// configured as the system has it.
void prepareLibcrypto();

}  // namespace quorvanti

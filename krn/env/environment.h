// The environment of the process. Reading and writing through here are serialised, so that a property that is kept in
// the environment can be set while other threads read theirs.
#pragma once

namespace quorvanti {

// Null when the variable is not set or empty. The text belongs to the environment and is valid until it changes.
const char* environmentValue(const char* name);
bool setEnvironmentValue(const char* name, const char* value);

}  // namespace quorvanti

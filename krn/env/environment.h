// The environment of the process. Reading and writing through here are serialised, so that a property that is kept in
// the environment can be set while other threads read theirs.
#pragma once

#include <span>
#include <string_view>

namespace quorvanti {

// Null when the variable is not set or empty. The text belongs to the environment and is valid until it changes.
const char* environmentValue(const char* name);
bool setEnvironmentValue(const char* name, const char* value);

// As the operating system holds it, copied into `room`; empty when the variable is not set or does not fit.
std::string_view systemVariable(const char* name, std::span<char> room);

}  // namespace quorvanti

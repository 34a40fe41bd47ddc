// What the trace asks of the operating system.
#pragma once

#include <cstdio>

namespace quorvanti {

// Opens a file for writing, truncated, that child processes do not inherit.
std::FILE* traceOpenFile(const char* name);

}  // namespace quorvanti

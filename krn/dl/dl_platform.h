// What the dynamic loader asks of the operating system, and how the system calls it.
#pragma once

#include "krn/dl/dl.h"

#include <array>
#include <cstdint>

namespace quorvanti {

using DlModule = void*;

struct DlSystemNames {
    const char* load;
    const char* find;
    const char* free;
};
extern const DlSystemNames dlSystemNames;

// A text of the system, cut to what has room.
using DlText = std::array<char, 256>;

// The system's number for an error (0 where it has none) and its text, as the system writes it.
struct DlSystemError {
    unsigned long number = 0;
    DlText text = {};
};

DlModule dlSystemLoad(const char* name, DlSystemError& error);
DlFunction dlSystemFind(DlModule module, const char* name, DlSystemError& error);
bool dlSystemFree(DlModule module, DlSystemError& error);
// The file that a module came from; empty when the system has no name for it.
DlText dlSystemPath(DlModule module);

// What happens to the process's error mode around a load, where there is such a thing: 0 leaves it, 1 switches the
// dialogs for critical errors off, anything else on. Nothing in the library changes it.
inline std::int32_t dlErrorMode = 0;

}  // namespace quorvanti

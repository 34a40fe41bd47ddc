// The library as a module of the process: what COM clients hold of it, and where it lies.
#pragma once

#include <windows.h>

#include <string>

namespace quorvanti::com {

// Everything that is handed out, and every lock, counts as long as it lives. As the first member of an object it is the
// last to go.
class ModuleUse {
public:
    ModuleUse();
    ~ModuleUse();
    ModuleUse(const ModuleUse&) = delete;
    ModuleUse& operator=(const ModuleUse&) = delete;
};
void lockModule(bool lock);
bool moduleInUse();

// The full path of the library's file. Throws std::bad_alloc.
std::wstring modulePath();

}  // namespace quorvanti::com

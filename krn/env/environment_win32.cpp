#include "krn/env/environment_platform.h"

#include "krn/env/environment.h"

#include <windows.h>

#include <cstdlib>
#include <string>

namespace quorvanti {

bool putIntoEnvironment(const char* name, const char* value) {
    return _putenv((std::string(name) + "=" + value).c_str()) == 0;
}

std::string_view systemVariable(const char* name, std::span<char> room) {
    const DWORD length = GetEnvironmentVariableA(name, room.data(), static_cast<DWORD>(room.size()));
    return length < room.size() ? std::string_view(room.data(), length) : std::string_view();
}

}  // namespace quorvanti

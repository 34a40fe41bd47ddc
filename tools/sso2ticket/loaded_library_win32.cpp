#include "tools/sso2ticket/loaded_library.h"

// Before psapi.h.
#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace quorvanti {

namespace {

std::string pathOf(HMODULE module) {
    std::string path(32768, '\0');
    path.resize(GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

}  // namespace

LoadedSymbol findLoaded(const char* symbol) {
    std::vector<HMODULE> modules(1024);
    DWORD used = 0;
    if (K32EnumProcessModules(GetCurrentProcess(), modules.data(), static_cast<DWORD>(modules.size() * sizeof(HMODULE)),
                              &used) == 0) {
        return {};
    }
    modules.resize(std::min<std::size_t>(modules.size(), used / sizeof(HMODULE)));
    for (HMODULE module : modules) {
        if (const FARPROC address = GetProcAddress(module, symbol); address != nullptr) {
            return {pathOf(module), reinterpret_cast<void*>(address)};
        }
    }
    return {};
}

std::string libraryAt(const void* address) {
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return GetModuleHandleExA(flags, static_cast<const char*>(address), &module) != 0 ? pathOf(module) : "";
}

void setEnvironment(const char* name, const char* value) {
    _putenv((std::string(name) + "=" + (value != nullptr ? value : "")).c_str());
}

}  // namespace quorvanti

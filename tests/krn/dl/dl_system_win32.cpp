#include "tests/krn/dl/dl_system.h"

#include <windows.h>

#include <algorithm>

namespace quorvanti::test {

namespace {

std::string lastError() {
    const DWORD number = GetLastError();
    char text[256] = "";
    FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, number, 0, text, sizeof text,
                   nullptr);
    std::string line = text;
    std::erase(line, '\r');
    std::erase(line, '\n');
    return "Error " + std::to_string(number) + " = \"" + line + "\"";
}

}  // namespace

std::string loadErrorOf(const char* library) {
    LoadLibraryA(library);
    return lastError();
}

std::string findErrorOf(const char* library, const char* function) {
    const HMODULE module = LoadLibraryA(library);
    GetProcAddress(module, function);
    std::string error = lastError();
    FreeLibrary(module);
    return error;
}

// Freed behind the loader's back. Another library that needs it would not keep it: here there is one count for all.
RefusedUnload::RefusedUnload(const char* library, const char*) {
    const HMODULE module = GetModuleHandleA(library);
    FreeLibrary(module);
    FreeLibrary(module);
    error_ = lastError();
}

RefusedUnload::~RefusedUnload() = default;

const char* const systemLibrary = "version.dll";

std::string systemNameOf(const std::string& file) {
    char name[MAX_PATH] = "";
    GetFullPathNameA(file.c_str(), sizeof name, name, nullptr);
    return name;
}

std::optional<bool> seenByAll(const char*) {
    return std::nullopt;
}

}  // namespace quorvanti::test

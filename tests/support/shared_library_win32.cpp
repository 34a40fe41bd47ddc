#include "tests/support/shared_library.h"

#include <windows.h>

namespace quorvanti::test {

void* openSharedLibrary(const char* path) {
    return LoadLibraryA(path);
}

bool closeSharedLibrary(void* library) {
    return FreeLibrary(static_cast<HMODULE>(library)) != FALSE;
}

void (*findInSharedLibrary(void* library, const char* name))() {
    return reinterpret_cast<void (*)()>(GetProcAddress(static_cast<HMODULE>(library), name));
}

bool isSharedLibraryLoaded(const char* path) {
    return GetModuleHandleA(path) != nullptr;
}

}  // namespace quorvanti::test

#include "tests/support/crypto_double/crypto_double.h"

#include <windows.h>

namespace quorvanti::test {

void* openSharedLibrary(const char* path) {
    return LoadLibraryA(path);
}

void closeSharedLibrary(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

void (*findInSharedLibrary(void* library, const char* name))() {
    return reinterpret_cast<void (*)()>(GetProcAddress(static_cast<HMODULE>(library), name));
}

}  // namespace quorvanti::test

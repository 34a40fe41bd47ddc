#include "tests/support/shared_library.h"

#include <dlfcn.h>

namespace quorvanti::test {

void* openSharedLibrary(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

bool closeSharedLibrary(void* library) {
    return dlclose(library) == 0;
}

void (*findInSharedLibrary(void* library, const char* name))() {
    return reinterpret_cast<void (*)()>(dlsym(library, name));
}

bool isSharedLibraryLoaded(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) {
        dlclose(library);
    }
    return library != nullptr;
}

}  // namespace quorvanti::test

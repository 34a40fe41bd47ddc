#include "tests/support/crypto_double/crypto_double.h"

#include <dlfcn.h>

namespace quorvanti::test {

void* openSharedLibrary(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

void closeSharedLibrary(void* library) {
    dlclose(library);
}

void (*findInSharedLibrary(void* library, const char* name))() {
    return reinterpret_cast<void (*)()>(dlsym(library, name));
}

}  // namespace quorvanti::test

#include "tests/krn/dl/dl_system.h"

#include <dlfcn.h>

namespace quorvanti::test {

namespace {

std::string lastError() {
    const char* text = dlerror();
    return std::string("Error 0 = \"") + (text != nullptr ? text : "") + "\"";
}

}  // namespace

std::string loadErrorOf(const char* library) {
    dlopen(library, RTLD_NOW | RTLD_LOCAL);
    return lastError();
}

std::string findErrorOf(const char* library, const char* function) {
    void* module = dlopen(library, RTLD_NOW);
    dlsym(module, function);
    std::string error = lastError();
    dlclose(module);
    return error;
}

// Closed behind the loader's back, while another library keeps it in place.
RefusedUnload::RefusedUnload(const char* library, const char* holder) : holder_(dlopen(holder, RTLD_NOW | RTLD_LOCAL)) {
    void* module = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    dlclose(module);
    dlclose(module);
    dlclose(module);
    error_ = lastError();
}

RefusedUnload::~RefusedUnload() {
    dlclose(holder_);
}

const char* const systemLibrary = "libm.so.6";

std::string systemNameOf(const std::string& file) {
    return file;
}

std::optional<bool> seenByAll(const char* symbol) {
    return dlsym(RTLD_DEFAULT, symbol) != nullptr;
}

}  // namespace quorvanti::test

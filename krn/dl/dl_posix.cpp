#include "krn/dl/dl_platform.h"

#include <dlfcn.h>
#include <link.h>

#include <cstring>

namespace quorvanti {
namespace {

DlText cut(const char* text) {
    DlText result = {};
    if (text != nullptr) {
        std::strncpy(result.data(), text, result.size() - 1);
    }
    return result;
}

DlSystemError lastError() {
    return {0, cut(dlerror())};
}

}  // namespace

const DlSystemNames dlSystemNames = {"dlopen", "dlsym", "dlclose"};

DlModule dlSystemLoad(const char* name, DlSystemError& error) {
    DlModule module = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        error = lastError();
    }
    return module;
}

DlFunction dlSystemFind(DlModule module, const char* name, DlSystemError& error) {
    void* address = dlsym(module, name);
    if (address == nullptr) {
        error = lastError();
    }
    return reinterpret_cast<DlFunction>(address);
}

bool dlSystemFree(DlModule module, DlSystemError& error) {
    const bool freed = dlclose(module) == 0;
    if (!freed) {
        error = lastError();
    }
    return freed;
}

DlText dlSystemPath(DlModule module) {
    link_map* map = nullptr;
    return cut(dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : nullptr);
}

}  // namespace quorvanti

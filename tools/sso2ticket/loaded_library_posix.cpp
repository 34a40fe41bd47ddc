#include "tools/sso2ticket/loaded_library.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <vector>

namespace quorvanti {

namespace {

int collect(dl_phdr_info* info, std::size_t /*size*/, void* names) {
    if (info->dlpi_name != nullptr && *info->dlpi_name != '\0') {
        static_cast<std::vector<std::string>*>(names)->emplace_back(info->dlpi_name);
    }
    return 0;
}

}  // namespace

LoadedSymbol findLoaded(const char* symbol) {
    std::vector<std::string> names;
    dl_iterate_phdr(collect, &names);
    for (const std::string& name : names) {
        void* library = dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
        if (library == nullptr) {
            continue;
        }
        void* address = dlsym(library, symbol);
        dlclose(library);  // somebody else keeps it loaded
        // A library also finds what the libraries below it have.
        if (address != nullptr && libraryAt(address) == name) {
            return {name, address};
        }
    }
    return {};
}

std::string libraryAt(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

void setEnvironment(const char* name, const char* value) {
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

}  // namespace quorvanti

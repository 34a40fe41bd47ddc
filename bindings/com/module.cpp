#include "bindings/com/module.h"

#include <atomic>

namespace quorvanti::com {
namespace {

std::atomic<long> uses = 0;

HMODULE thisModule() {
    static const char inside = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&inside), &module);
    return module;
}

}  // namespace

void lockModule(bool lock) {
    uses += lock ? 1 : -1;
}

bool moduleInUse() {
    return uses != 0;
}

ModuleUse::ModuleUse() {
    lockModule(true);
}

ModuleUse::~ModuleUse() {
    lockModule(false);
}

std::wstring modulePath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(thisModule(), path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(2 * path.size());
    }
}

}  // namespace quorvanti::com

#include "krn/dl/dl_platform.h"

#include <windows.h>

namespace quorvanti {
namespace {

DlSystemError lastError() {
    DlSystemError error;
    error.number = GetLastError();
    FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error.number,
                   MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL), error.text.data(), static_cast<DWORD>(error.text.size()),
                   nullptr);
    return error;
}

class ErrorMode {
public:
    ErrorMode() {
        if (dlErrorMode != 0) {
            before_ = GetErrorMode();
            SetErrorMode(dlErrorMode == 1 ? before_ | SEM_FAILCRITICALERRORS : before_ & ~SEM_FAILCRITICALERRORS);
        }
    }
    ~ErrorMode() {
        if (dlErrorMode != 0) {
            SetErrorMode(before_);
        }
    }
    ErrorMode(const ErrorMode&) = delete;
    ErrorMode& operator=(const ErrorMode&) = delete;

private:
    UINT before_ = 0;
};

}  // namespace

const DlSystemNames dlSystemNames = {"LoadLibrary", "GetProcAddress", "FreeLibrary"};

DlModule dlSystemLoad(const char* name, DlSystemError& error) {
    const ErrorMode mode;
    const HMODULE module = LoadLibraryA(name);
    if (module == nullptr) {
        error = lastError();
    }
    return module;
}

DlFunction dlSystemFind(DlModule module, const char* name, DlSystemError& error) {
    const FARPROC address = GetProcAddress(static_cast<HMODULE>(module), name);
    if (address == nullptr) {
        error = lastError();
    }
    return reinterpret_cast<DlFunction>(address);
}

bool dlSystemFree(DlModule module, DlSystemError& error) {
    const bool freed = FreeLibrary(static_cast<HMODULE>(module)) != FALSE;
    if (!freed) {
        error = lastError();
    }
    return freed;
}

DlText dlSystemPath(DlModule module) {
    DlText path = {};
    GetModuleFileNameA(static_cast<HMODULE>(module), path.data(), static_cast<DWORD>(path.size()));
    path.back() = '\0';
    return path;
}

}  // namespace quorvanti

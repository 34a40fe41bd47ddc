#include "base/dptrc/trace_target.h"

#include <io.h>
#include <windows.h>

#include <cstdint>

namespace quorvanti {

std::FILE* traceOpenFile(const char* name) {
    std::FILE* stream = std::fopen(name, "w");
    if (stream != nullptr) {
        const std::intptr_t handle = _get_osfhandle(_fileno(stream));
        SetHandleInformation(reinterpret_cast<HANDLE>(handle), HANDLE_FLAG_INHERIT, 0);
    }
    return stream;
}

}  // namespace quorvanti

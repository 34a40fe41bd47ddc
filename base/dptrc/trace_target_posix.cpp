#include "base/dptrc/trace_target.h"

#include <fcntl.h>
#include <unistd.h>

namespace quorvanti {

std::FILE* traceOpenFile(const char* name) {
    const int descriptor = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return nullptr;
    }
    std::FILE* stream = fdopen(descriptor, "w");
    if (stream == nullptr) {
        close(descriptor);
    }
    return stream;
}

}  // namespace quorvanti

#include "krn/time/parent_process.h"

#include "krn/env/environment.h"

#include <cstdlib>
#include <cstring>

namespace quorvanti {

long parentProcessId() {
    constexpr std::size_t kWidth = 20;  // no number is longer
    const char* value = environmentValue("PPID");
    return value != nullptr && std::strlen(value) < kWidth ? std::strtol(value, nullptr, 10) : 0;
}

}  // namespace quorvanti

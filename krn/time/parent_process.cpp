#include "krn/time/parent_process.h"

#include "krn/env/environment.h"

#include <cstdlib>

namespace quorvanti {

long parentProcessId() {
    char value[20];  // no number is longer
    return systemVariable("PPID", value).empty() ? 0 : std::strtol(value, nullptr, 10);
}

}  // namespace quorvanti

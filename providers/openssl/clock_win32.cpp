#include <windows.h>

#include "providers/openssl/clock_platform.h"

namespace quorvanti::provider {

std::int64_t coarseSteadyMilliseconds() {
    return static_cast<std::int64_t>(GetTickCount64());
}

}  // namespace quorvanti::provider

// The system's cheap steady clock.
#pragma once

#include <cstdint>

namespace quorvanti::provider {

std::int64_t coarseSteadyMilliseconds();

}  // namespace quorvanti::provider

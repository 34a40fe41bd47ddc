// The system's cheap clocks: they stand still for some milliseconds at a time.
#pragma once

#include <cstdint>

namespace quorvanti::provider {

std::int64_t coarseSystemSeconds();
std::int64_t coarseSteadyMilliseconds();

}  // namespace quorvanti::provider

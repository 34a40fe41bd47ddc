// The calling thread's number as the system gives it.
#pragma once

#include <cstdint>

namespace quorvanti::test {

std::uint64_t systemThreadNumber();

}  // namespace quorvanti::test

// The process's number as the system shows it.
#pragma once

#include <cstdint>

namespace quorvanti {

std::int64_t currentProcessId();

}  // namespace quorvanti

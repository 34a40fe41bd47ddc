// What the caller of VorakCreateAssertionTicket gets of what the writer of tickets left in his buffer.
#pragma once

#include "sec/voraksso/assertion_checks.h"

#include <cstdint>

namespace quorvanti {

// `code` and `length` are the writer's. 0 with the text's length set and the text as it travels; else the code for the
// caller, with its line.
std::int32_t handOutTicket(const AssertionRequest& request, std::int32_t code, std::uint32_t length);

}  // namespace quorvanti

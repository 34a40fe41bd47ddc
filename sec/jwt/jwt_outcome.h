// How a step of the evaluation ended.
#pragma once

#include <cstdint>

namespace quorvanti {

// 0, or the code and the text of a failure.
struct JwtOutcome {
    std::int32_t code = 0;
    const char* text = "";

    bool failed() const { return code != 0; }
};

}  // namespace quorvanti

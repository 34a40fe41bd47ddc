// What went wrong last on the calling thread, in words for an operator.
#pragma once

#include <cstdint>
#include <string_view>

namespace quorvanti::provider {

// Keeps the sentence as the calling thread's last error and returns the code. Never a secret in it.
[[gnu::cold]] std::int32_t fail(std::int32_t code, std::string_view sentence) noexcept;

struct LastError {
    std::int32_t code;
    std::string_view sentence;
};

// The calling thread's last error; code 0 when there was none. The sentence lives until the thread's next fail().
LastError lastError() noexcept;

void clearLastError() noexcept;

}  // namespace quorvanti::provider

#include "tests/krn/thr/thread_number.h"

#include <unistd.h>

namespace quorvanti::test {

std::uint64_t systemThreadNumber() {
    return static_cast<std::uint64_t>(gettid());
}

}  // namespace quorvanti::test

#include "tests/krn/thr/thread_number.h"

#include <windows.h>

namespace quorvanti::test {

std::uint64_t systemThreadNumber() {
    return GetCurrentThreadId();
}

}  // namespace quorvanti::test

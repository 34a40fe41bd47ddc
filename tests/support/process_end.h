// How a process ended, for death tests.
#pragma once

namespace quorvanti::test {

// By std::abort(). For EXPECT_EXIT.
bool endedByAbort(int status);

}  // namespace quorvanti::test

#include "tests/support/process_end.h"

namespace quorvanti::test {

// The C runtime's code for it.
bool endedByAbort(int status) {
    return status == 3;
}

}  // namespace quorvanti::test

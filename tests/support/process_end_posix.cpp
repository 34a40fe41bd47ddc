#include "tests/support/process_end.h"

#include <sys/wait.h>

#include <csignal>

namespace quorvanti::test {

bool endedByAbort(int status) {
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
}

}  // namespace quorvanti::test

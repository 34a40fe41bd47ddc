// The parent process's number, as the environment variable PPID tells it; 0 when it does not.
#pragma once

namespace quorvanti {

long parentProcessId();

}  // namespace quorvanti

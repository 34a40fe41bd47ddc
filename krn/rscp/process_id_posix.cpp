#include "krn/rscp/process_id.h"

#include <unistd.h>

namespace quorvanti {

std::int64_t currentProcessId() {
    return getpid();
}

}  // namespace quorvanti

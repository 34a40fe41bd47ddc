#include "krn/rscp/process_id.h"

#include <windows.h>

namespace quorvanti {

std::int64_t currentProcessId() {
    return GetCurrentProcessId();
}

}  // namespace quorvanti

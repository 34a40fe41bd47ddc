#include "tests/support/process_memory.h"

#include <malloc.h>
#include <unistd.h>

#include <fstream>

namespace quorvanti::test {

ProcessMemory processMemory() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return {mallinfo2().uordblks, resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))};
}

}  // namespace quorvanti::test

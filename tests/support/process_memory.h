// What the process holds of memory.
#pragma once

#include <cstddef>

namespace quorvanti::test {

struct ProcessMemory {
    std::size_t allocated;  // by the C runtime's allocator
    std::size_t resident;
};
ProcessMemory processMemory();

}  // namespace quorvanti::test

#include "tests/support/process_memory.h"

// Before psapi.h.
#include <windows.h>

#include <malloc.h>
#include <psapi.h>

namespace quorvanti::test {

ProcessMemory processMemory() {
    ProcessMemory memory{};
    const HANDLE heap = GetProcessHeap();
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry) != FALSE) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            memory.allocated += entry.cbData;
        }
    }
    HeapUnlock(heap);
    _HEAPINFO block{};
    while (_heapwalk(&block) == _HEAPOK) {
        if (block._useflag == _USEDENTRY) {
            memory.allocated += block._size;
        }
    }
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    memory.resident = counters.WorkingSetSize;
    return memory;
}

}  // namespace quorvanti::test

// The per-thread trace record.
#pragma once

#include <cstdint>
#include <cstdio>

namespace quorvanti {

struct ThreadTraceRecord {
    std::FILE* stream = nullptr;  // always null: the process-wide stream is used
    std::int32_t level = 0;
    std::int64_t lastStampSecond = 0;
};

// The calling thread's record, made when it has none; null when it cannot be had, and the trace goes on without it. The
// stream is told when memory is short; it may be null. Under the trace lock.
ThreadTraceRecord* CTrcIGetThrAdm(std::FILE* defaultStream);

}  // namespace quorvanti

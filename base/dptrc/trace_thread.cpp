#include "base/dptrc/trace_thread.h"

#include "krn/thr/thr.h"

#include <memory>
#include <new>

namespace quorvanti {
namespace {

constinit ThrKey recordKey = kThrNoKeyYet;

void destroyRecord(void* record) {
    std::default_delete<ThreadTraceRecord>()(static_cast<ThreadTraceRecord*>(record));
}

}  // namespace

ThreadTraceRecord* CTrcIGetThrAdm(std::FILE* defaultStream) {
    if (recordKey == kThrNoKeyYet && ThrKeyCreate(recordKey, &destroyRecord) != kThrOk) {
        return nullptr;
    }
    if (void* known = ThrKeyGet(recordKey)) {
        return static_cast<ThreadTraceRecord*>(known);
    }
    std::unique_ptr<ThreadTraceRecord> record(new (std::nothrow) ThreadTraceRecord);
    if (record == nullptr) {
        if (defaultStream != nullptr) {
            std::fputs("CTrcIGetThrAdm: ThrKeyVarGet failed\n", defaultStream);
        }
        return nullptr;
    }
    return ThrKeySet(recordKey, record.get()) ? record.release() : nullptr;
}

}  // namespace quorvanti

// How the converter reaches its surroundings: one table, filled when the library is built and replaceable in tests.
#pragma once

#include "krn/rscp/converter.h"

#include <cstdlib>
#include <memory>

namespace quorvanti {

struct CacheMemoryDeleter {
    void operator()(std::byte* memory) const { std::free(memory); }
};
using CacheMemory = std::unique_ptr<std::byte[], CacheMemoryDeleter>;

struct ConverterHooks {
    const char* (*profileParameter)(const char* name);  // null: not set
    std::int32_t (*defaultCodePage)(char codePage[4]);
    std::int32_t (*currentLanguage)(char* language);
    std::int32_t (*currentCodePage)(char codePage[4]);
    void (*traceEnter)(const char* function);
    void (*traceLeave)(const char* function);
    void (*logLine)(const char* text, int length);
    void (*traceLine)(const char* text, int length);  // null: does nothing, and nothing is formatted for it
    std::int32_t (*semaphoreStep1)();
    std::int32_t (*semaphoreStep2)();
    bool (*lockCache)();  // whether it did; if not, there is nothing to unlock
    void (*unlockCache)();
    CacheMemory (*allocateCache)(std::size_t bytes);  // zeroed; null when there is no memory
};

// The table of this library.
extern const ConverterHooks defaultConverterHooks;

const ConverterHooks& converterHooks();
// For tests, before the converter is used; null restores the library's own. The table is not copied.
void setConverterHooks(const ConverterHooks* hooks);

// Formats one line for the log or the trace, cut at 255 characters.
void converterLog(const char* format, ...);
void converterTrace(const char* format, ...);
inline bool converterTraced() {
    return converterHooks().traceLine != nullptr;
}

class CacheLock {
public:
    // The caller's name and line, for the trace.
    CacheLock(const char* by, int line);
    ~CacheLock();
    CacheLock(const CacheLock&) = delete;
    CacheLock& operator=(const CacheLock&) = delete;

private:
    bool locked_;
};

}  // namespace quorvanti

// The trace: one human-readable text, written line by line to a file or a standard stream. Diagnostic only: nothing
// that happens here changes the result of a public function.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace quorvanti {

// Trace fields of the process-wide state; this unit is their owner. Changed only under the trace lock.
struct TraceState {
    std::atomic<std::FILE*> stream{nullptr};       // target of the library's lines; null: no trace
    std::atomic<std::FILE*> file{nullptr};         // the file that the library opened itself
    char fileName[4096] = {};                      // target last set; empty: none
    std::atomic<std::int32_t> level{0};            // level in force
    std::atomic<std::int32_t> requestedLevel{-1};  // level last set; -1: never
};
extern constinit TraceState traceStateOfProcess;
inline TraceState& traceState() {
    return traceStateOfProcess;
}

// True when a line of this level would be written. A line of level 0 needs a stream only.
inline bool traceEnabled(std::int32_t level) {
    const TraceState& state = traceState();
    return (level == 0 || state.level.load(std::memory_order_relaxed) >= level) &&
           state.stream.load(std::memory_order_relaxed) != nullptr;
}
// The same for the lines that go to the library's own file: they are not lost without one, but go to the standard
// error, and need the level only.
inline bool traceFileEnabled(std::int32_t level) {
    return traceState().level.load(std::memory_order_relaxed) >= level;
}

// Chooses the target as the property KAV_EXT_TRC does, and the level as KAV_EXT_TRL does. Both take the trace lock. To
// decide something upon the state and change it in one step, hold a TraceLock around both.
void traceSetTarget(const char* value);
void traceSetLevel(const char* value);

// Opens a trace file and writes its header. The level is set to the one given, unless an earlier file is still open.
// When the file cannot be opened, and for no name: the standard error.
std::FILE* CTrcOpen(const char* name, std::int32_t level);
// Closes the library's stream, unless it is the standard error, and ends the trace. Returns 0.
std::int32_t CTrcCloseStream();

// All of these are marked as cold, which keeps what is done for a trace line away from the code that always runs.
[[gnu::cold]] void DpTrcLock();
[[gnu::cold]] void DpTrcUnlock();
// The position that the next error or warning line cites; under the trace lock, together with that line.
[[gnu::cold]] void DpTrcSetLocation(const char* sourcePath, int line);
// A message of one line or several. A null stream is the standard error.
[[gnu::cold, gnu::format(printf, 2, 3)]] void DpTrc(std::FILE* stream, const char* format, ...);
[[gnu::cold, gnu::format(printf, 2, 3)]] void DpTrcError(std::FILE* stream, const char* format, ...);
[[gnu::cold, gnu::format(printf, 2, 3)]] void DpTrcWarning(std::FILE* stream, const char* format, ...);
// At level 3, to the library's stream. Always ends with a line that holds the length, even if it holds nothing else.
[[gnu::cold]] void DpTrcHexDump(const void* data, std::size_t length);
// The same without that last line, unless it holds bytes.
[[gnu::cold]] void DpTrcHexLines(const void* data, std::size_t length);

// Holds the trace lock, so that several lines stay together.
class TraceLock {
public:
    TraceLock() { DpTrcLock(); }
    ~TraceLock() { DpTrcUnlock(); }
    TraceLock(const TraceLock&) = delete;
    TraceLock& operator=(const TraceLock&) = delete;
};

}  // namespace quorvanti

// The trace calls. A source file names its unit once, at its top:
//     namespace { constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext"; }
// A call whose level is not in force costs the comparison; its arguments are not evaluated. Otherwise they are
// evaluated under the trace lock, and the line goes to the target of that moment: none when the target went away
// meanwhile.
#define TRACE(traceLevel_, ...)                                                            \
    do {                                                                                   \
        if (::quorvanti::traceEnabled(traceLevel_)) {                                      \
            const ::quorvanti::TraceLock traceLock_;                                       \
            if (std::FILE* const traceStream_ = ::quorvanti::traceState().stream.load()) { \
                ::quorvanti::DpTrc(traceStream_, __VA_ARGS__);                             \
            }                                                                              \
        }                                                                                  \
    } while (false)
#define TRACE_POSITIONED(call_, line_, ...)                                                \
    do {                                                                                   \
        if (::quorvanti::traceEnabled(1)) {                                                \
            const ::quorvanti::TraceLock traceLock_;                                       \
            if (std::FILE* const traceStream_ = ::quorvanti::traceState().stream.load()) { \
                ::quorvanti::DpTrcSetLocation(kTraceUnit, line_);                          \
                ::quorvanti::call_(traceStream_, __VA_ARGS__);                             \
            }                                                                              \
        }                                                                                  \
    } while (false)
// Lines of level 1 with the source position; the second form cites a line number that is fixed.
#define TRACE_ERROR(...) TRACE_POSITIONED(DpTrcError, __LINE__, __VA_ARGS__)
#define TRACE_ERROR_AT(line_, ...) TRACE_POSITIONED(DpTrcError, line_, __VA_ARGS__)
#define TRACE_WARNING(...) TRACE_POSITIONED(DpTrcWarning, __LINE__, __VA_ARGS__)
// The same for the lines of the dynamic loader and of the error record, which go to the library's own file.
#define TRACE_FILE(traceLevel_, ...)                                                \
    do {                                                                            \
        if (::quorvanti::traceFileEnabled(traceLevel_)) {                           \
            const ::quorvanti::TraceLock traceLock_;                                \
            ::quorvanti::DpTrc(::quorvanti::traceState().file.load(), __VA_ARGS__); \
        }                                                                           \
    } while (false)
#define TRACE_FILE_ERROR_AT(line_, ...)                                                  \
    do {                                                                                 \
        if (::quorvanti::traceFileEnabled(1)) {                                          \
            const ::quorvanti::TraceLock traceLock_;                                     \
            ::quorvanti::DpTrcSetLocation(kTraceUnit, line_);                            \
            ::quorvanti::DpTrcError(::quorvanti::traceState().file.load(), __VA_ARGS__); \
        }                                                                                \
    } while (false)
#define TRACE_FILE_ERROR(...) TRACE_FILE_ERROR_AT(__LINE__, __VA_ARGS__)

#include "base/dptrc/dptrace.h"

#include "base/dptrc/release.h"
#include "base/dptrc/trace_line.h"
#include "base/dptrc/trace_target.h"
#include "base/dptrc/trace_thread.h"
#include "krn/thr/thr.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>

namespace quorvanti {

constinit TraceState traceStateOfProcess;

namespace {

constexpr char kRule[] = "---------------------------------------------------\n";

// The first stream opened and not yet closed; while it is set, further opens leave the level alone. Under the lock.
constinit std::FILE* defaultStream = nullptr;
constinit std::atomic<std::int32_t> tracersInside{0};

// Made on first use and never destroyed: threads trace until the process has ended.
ThrRecMtx& traceLock() {
    alignas(ThrRecMtx) static std::byte storage[sizeof(ThrRecMtx)];
    static ThrRecMtx& mutex = [&]() -> ThrRecMtx& {
        auto* made = new (storage) ThrRecMtx;
        ThrRecMtxInit(*made, "dptrace");
        return *made;
    }();
    return mutex;
}

void writeHeader(std::FILE* stream, std::string_view name) {
    name.remove_prefix(name.find_last_of("/\\") + 1);
    std::fprintf(stream, "\n%s", kRule);
    std::fprintf(stream, "trc file: \"%s\", trc level: %d, release: \"%s\"\n", name.data(), traceState().level.load(),
                 kRelease);
    std::fprintf(stream, "%s", kRule);
    std::fflush(stream);
}

// Closes the library's stream but leaves it in the state, where nobody reads it before the lock is released.
void closeStream() {
    std::FILE* const stream = traceState().stream.load();
    if (stream == defaultStream) {
        defaultStream = nullptr;
    }
    if (stream != nullptr && stream != stderr) {
        std::fclose(stream);
    }
}

void openTarget(const char* name) {
    TraceState& state = traceState();
    const std::int32_t requested = state.requestedLevel.load();
    std::FILE* const stream = CTrcOpen(name, requested < 4 ? requested : 1);
    state.file.store(stream);
    state.stream.store(stream);
    // The name may be the recorded one itself.
    const std::size_t length = std::min(std::strlen(name), sizeof state.fileName - 1);
    std::memmove(state.fileName, name, length);
    std::memset(state.fileName + length, 0, sizeof state.fileName - length);
}

// The words are recognised only while no file name is recorded: deliberate, once a file is in use "stdout" names a
// file, and who sets the target by name can rely on getting a file.
bool chooseByWord(std::string_view word) {
    TraceState& state = traceState();
    if (word == "stdout") {
        state.stream.store(stdout);
    } else if (word == "stderr") {
        state.stream.store(stderr);
    } else if (word == "tf") {
        std::FILE* const file = state.file.load();
        state.stream.store(file != nullptr ? file : stdout);
    } else {
        return false;
    }
    return true;
}

}  // namespace

void traceSetTarget(const char* value) {
    const TraceLock lock;
    TraceState& state = traceState();
    if (state.fileName[0] == '\0' && value != nullptr) {
        if (!chooseByWord(value)) {
            openTarget(value);
        }
        return;
    }
    std::FILE* const stream = state.stream.load();
    if (stream != nullptr && stream != stdout && stream != stderr) {
        closeStream();
    }
    if (value != nullptr) {
        openTarget(value);
        return;
    }
    state.stream.store(nullptr);
    state.file.store(nullptr);
    std::memset(state.fileName, 0, sizeof state.fileName);
}

void traceSetLevel(const char* value) {
    const TraceLock lock;
    TraceState& state = traceState();
    if (value == nullptr || *value == '\0') {
        state.requestedLevel.store(-1);
        state.level.store(0);
        return;
    }
    const std::int32_t level = *value >= '0' && *value <= '3' ? *value - '0' : 1;
    state.requestedLevel.store(level);
    state.level.store(level);
}

std::FILE* CTrcOpen(const char* name, std::int32_t level) {
    const TraceLock lock;
    if (defaultStream == nullptr) {
        traceState().level.store(level);
    }
    traceForgetStamp();
    std::FILE* stream = nullptr;
    if (name != nullptr) {
        stream = traceOpenFile(name);
        if (stream == nullptr) {
            std::fprintf(stderr, "*** ERROR => CTrcOpen: fopen %s\n", name);
            stream = stderr;
        }
        writeHeader(stream, name);
    } else {
        stream = stderr;
    }
    if (defaultStream == nullptr) {
        defaultStream = stream;
    }
    CTrcIGetThrAdm(defaultStream);
    return stream;
}

std::int32_t CTrcCloseStream() {
    const TraceLock lock;
    TraceState& state = traceState();
    std::FILE* const stream = state.stream.load();
    closeStream();
    if (state.file.load() == stream) {
        state.file.store(nullptr);
    }
    state.stream.store(nullptr);
    return 0;
}

void DpTrcLock() {
    tracersInside.fetch_add(1, std::memory_order_relaxed);
    ThrRecMtxLock(traceLock());
}

void DpTrcUnlock() {
    ThrRecMtxUnlock(traceLock());
    tracersInside.fetch_sub(1, std::memory_order_relaxed);
}

}  // namespace quorvanti

#include "base/dptrc/trace_watch.h"

#include "base/dptrc/dptrace.h"

#include <cstddef>
#include <new>
#include <vector>

namespace quorvanti {
namespace {

struct Watch {
    const char* pattern;
    TraceWatchCallback callback;
    bool found = false;
};

constinit std::vector<Watch> watchList;  // under the trace lock
constinit bool reporting = false;

// Does the pattern match a beginning of the text? Goes back to the last "*" only, so the effort stays bounded by the
// product of the lengths.
bool matchesHere(const char* pattern, const char* text) {
    const char* afterStar = nullptr;
    const char* resume = nullptr;
    while (*pattern != '\0') {
        if (*pattern == '*') {
            afterStar = ++pattern;
            resume = text;
            continue;
        }
        const bool escaped = *pattern == '\\' && pattern[1] != '\0';
        const char wanted = escaped ? pattern[1] : *pattern;
        if (*text != '\0' && (wanted == *text || (!escaped && wanted == '?'))) {
            pattern += escaped ? 2 : 1;
            ++text;
        } else if (afterStar != nullptr && *resume != '\0') {
            pattern = afterStar;
            text = ++resume;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace

bool traceMatches(const char* pattern, const char* text) {
    do {
        if (matchesHere(pattern, text)) {
            return true;
        }
    } while (*text++ != '\0');
    return false;
}

bool traceWatch(const char* pattern, TraceWatchCallback callback) {
    const TraceLock lock;
    try {
        watchList.push_back({pattern, callback});
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void traceUnwatchAll() {
    const TraceLock lock;
    watchList.clear();
}

void traceCheckWatchList(std::FILE* stream, const char* text) {
    if (watchList.empty() || reporting) {
        return;
    }
    reporting = true;
    // All are searched first: a callback that traces uses the buffer that the text stands in.
    for (Watch& watch : watchList) {
        watch.found = traceMatches(watch.pattern, text);
    }
    for (std::size_t index = 0; index < watchList.size(); ++index) {
        const Watch watch = watchList[index];
        if (watch.found) {
            std::fprintf(stream, "\nDpTrc: found match for pattern >%s< in output\n", watch.pattern);
            std::fflush(stream);
            watch.callback(stream, watch.pattern);
        }
    }
    reporting = false;
}

}  // namespace quorvanti

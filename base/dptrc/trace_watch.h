// Patterns that are looked for in every message written to the trace. Nobody in the library registers one.
#pragma once

#include <cstdio>

namespace quorvanti {

using TraceWatchCallback = void (*)(std::FILE* stream, const char* pattern);

// True when the pattern matches somewhere in the text: "*" any run of characters, "?" any one, "\" makes the next
// character literal; case counts.
bool traceMatches(const char* pattern, const char* text);

// Adds a pattern; false when memory is short. The pattern's text stays the caller's and must stay in place.
bool traceWatch(const char* pattern, TraceWatchCallback callback);
void traceUnwatchAll();

// Reports every pattern that matches the text to the stream and to its callback. What a callback traces is not searched
// again. Under the trace lock.
void traceCheckWatchList(std::FILE* stream, const char* text);

}  // namespace quorvanti

// The lines of level 3 at the begin and the end of a method of a face.
#pragma once

#include "base/dptrc/dptrace.h"

namespace quorvanti {

class MethodTrace {
public:
    MethodTrace(const char* begin, const char* end) : end_(end) { TRACE(3, "%s", begin); }
    ~MethodTrace() { TRACE(3, "%s", end_); }
    MethodTrace(const MethodTrace&) = delete;
    MethodTrace& operator=(const MethodTrace&) = delete;

private:
    const char* end_;
};

}  // namespace quorvanti

// The composition of trace lines, as far as the rest of the trace needs it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvanti {

// "[Thr 4711] "; "[Thr ???] " for a thread without a number.
struct ThreadTag {
    char text[40];
    std::size_t length;
};
ThreadTag threadTag(std::uint64_t id);

// The next line gets a time stamp. Under the trace lock.
void traceForgetStamp();

}  // namespace quorvanti

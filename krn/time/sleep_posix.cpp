#include "krn/time/sleep.h"

#include <cerrno>
#include <ctime>

namespace quorvanti {

bool systemSleep(std::uint32_t milliseconds) {
    timespec duration{};
    duration.tv_sec = milliseconds / 1000;
    duration.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    return nanosleep(&duration, nullptr) == 0 || errno != EINTR;
}

}  // namespace quorvanti

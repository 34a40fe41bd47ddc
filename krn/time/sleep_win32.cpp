#include "krn/time/sleep.h"

#include <windows.h>

namespace quorvanti {

bool systemSleep(std::uint32_t milliseconds) {
    // Makes the process know its time zone before time is measured.
    static const DWORD zone = [] {
        TIME_ZONE_INFORMATION information;
        return GetTimeZoneInformation(&information);
    }();
    static_cast<void>(zone);
    return SleepEx(milliseconds, TRUE) != WAIT_IO_COMPLETION;
}

}  // namespace quorvanti

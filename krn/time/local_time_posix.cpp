#include "krn/time/local_time.h"

namespace quorvanti {

bool systemLocalTime(std::int64_t time, std::tm& record) {
    const std::time_t value = time;
    return localtime_r(&value, &record) != nullptr;
}

}  // namespace quorvanti

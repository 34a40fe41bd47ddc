#include "krn/time/local_time.h"

#include <time.h>

namespace quorvanti {

bool systemLocalTime(std::int64_t time, std::tm& record) {
    const __time64_t value = time;
    return _localtime64_s(&record, &value) == 0;
}

}  // namespace quorvanti

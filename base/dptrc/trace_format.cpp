#include "base/dptrc/trace_format.h"

namespace quorvanti {

std::string_view cutFormat(std::string_view format, std::size_t width) {
    if (format.size() <= width) {
        return format;
    }
    const std::string_view cut = format.substr(0, width);
    std::size_t percent = cut.find('%');
    while (percent != std::string_view::npos) {
        const std::size_t last = cut.find_first_of("%diouxXeEfFgGaAcspn", percent + 1);
        if (last == std::string_view::npos) {
            return cut.substr(0, percent);
        }
        percent = cut.find('%', last + 1);
    }
    return cut;
}

}  // namespace quorvanti

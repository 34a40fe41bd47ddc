// printf formats as texts.
#pragma once

#include <cstddef>
#include <string_view>

namespace quorvanti {

// The format's first characters, at most `width`, without a conversion directive that the cut would break.
std::string_view cutFormat(std::string_view format, std::size_t width);

}  // namespace quorvanti

// What to look at when a JSON Web Token is refused.
#pragma once

#include <string>
#include <string_view>

namespace quorvanti {

// For the library's text that tells why.
std::string tokenAdvice(std::string_view reason);

}  // namespace quorvanti

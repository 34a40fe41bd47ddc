// The one wrapper format of tickets.
#pragma once

#include <string_view>

namespace quorvanti::provider {

inline std::string_view withoutTrailingBlanks(std::string_view text) {
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

inline bool isPkcs7(std::string_view format) {
    return withoutTrailingBlanks(format) == "PKCS7";
}

}  // namespace quorvanti::provider

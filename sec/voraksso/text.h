// What several places ask of a text. Letters are those of ASCII, whatever the locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace quorvanti {

inline std::string_view withoutTrailingBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

inline char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool equalsIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

inline bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

}  // namespace quorvanti

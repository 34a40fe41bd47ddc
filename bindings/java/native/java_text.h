// Texts between UTF-8 and Java's characters, which are UTF-16 units.
#pragma once

#include <jni.h>

#include <string>
#include <string_view>
#include <vector>

namespace quorvanti {

using JavaCharacters = std::vector<jchar>;

// Takes UTF-8 and the virtual machine's modified UTF-8 alike: U+0000 as one byte or as C0 80, a supplementary character
// as four bytes or as two surrogates of three bytes each. Every byte that belongs to no character becomes U+FFFD.
JavaCharacters javaCharacters(std::string_view utf8);

// The same text as modified UTF-8, which the functions that take a terminated text want; valid whatever came in.
std::string modifiedUtf8(std::string_view utf8);

}  // namespace quorvanti

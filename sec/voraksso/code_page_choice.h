// The code page of texts that go out of the library, or into a ticket.
#pragma once

#include <array>
#include <string_view>

namespace quorvanti {

// Four characters: those given, unless they begin with a zero byte: then the property's. Blanks, zero bytes and the
// digit "0" throughout are no code page: UTF-8.
std::array<char, 4> chooseCodePage(std::string_view given);

}  // namespace quorvanti

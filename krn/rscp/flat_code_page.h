// Single-byte code pages from flat files: a file a code page, in the mapping text that the Unicode consortium publishes
// ("0xA4<tab>0x20AC<tab># EURO SIGN"). A row without a second number, or no row, leaves the byte value undefined.
#pragma once

#include "krn/rscp/code_pages.h"

#include <string>
#include <string_view>

namespace quorvanti {

// 0, or the error that was recorded; `name` appears in its detail only.
std::int32_t parseFlatCodePage(std::string_view text, std::string_view name, CharacterMap& characters);

// The pattern with "++++" replaced by the code page. Only four digits are accepted as a code page, so what a ticket
// names cannot lead out of the place that the pattern fixes.
std::int32_t flatCodePageFileName(std::string_view pattern, const char codePage[4], std::string& name);

// `found` is false, and the result 0, when there is no such file, or nobody can tell whether there is one.
std::int32_t readFlatFile(const std::string& name, std::string& text, bool& found);
std::int32_t readFlatCodePage(const std::string& name, CharacterMap& characters, bool& found);

}  // namespace quorvanti

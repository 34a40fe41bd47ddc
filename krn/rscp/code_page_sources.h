// Where the characters of a code page are read from.
#pragma once

#include "krn/rscp/code_pages.h"

#include <cstddef>
#include <cstdint>

namespace quorvanti {

// Where code page tables come from, in the order in which they are asked.
enum class TableSource { database, flatFile, builtIn };
// `found` is false when this source does not have the code page.
std::int32_t readCodePage(TableSource source, const char codePage[4], CharacterMap& characters, bool& found);
// Asks the sources in their order; RSCPENOOBJ when none has the code page.
std::int32_t readCodePage(const char codePage[4], CharacterMap& characters);

// The code pages of the database: from the file that the profile names, four digits a line and comments from "#" on,
// else the default code page.
std::int32_t readDatabaseCodePages(char (*codePages)[4], std::size_t capacity, std::size_t& count);

}  // namespace quorvanti

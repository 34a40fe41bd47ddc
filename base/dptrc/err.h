// Per-thread record of the last error, packed as 21 texts.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>

namespace quorvanti {

inline constexpr std::int32_t kErrStored = 0;
inline constexpr std::int32_t kErrTooLarge = -1;
inline constexpr std::int32_t kErrNoRecord = -5;

// Formats and stores a record for the calling thread: 0; -1 when it is too large (it is traced instead); -5 when the
// record cannot be had. `text` and `detail` are both formats, of which 500 characters count; the arguments serve the
// text first. A message number of five characters may lead each of them in parentheses.
std::int32_t ErrSetInfo(const char* component, std::int32_t version, const char* module, std::int32_t line,
                        const char* text, std::int32_t returnCode, const char* detail, ...);

// The calling thread's packed record, texts and terminators; empty when none is stored.
std::string errPackedRecord();

}  // namespace quorvanti

// The names under which traces show an object's policies.
#pragma once

#include "krn/rscp/converter.h"

namespace quorvanti {

const char* rscpbrokenName(std::int32_t value);
const char* rscpfillName(std::int32_t value);
const char* useF1Name(std::int32_t value);
const char* dropName(std::int32_t value);
const char* rscpCtrlCodeCvName(std::int32_t value);
const char* rscpKAVOwnChCvName(std::int32_t value);

// The six hexadecimal digits of "s(%06X)": a digit a policy, drop policy first from the right.
std::uint32_t rscpOptionWord(const rscpCObj_t& object);

}  // namespace quorvanti

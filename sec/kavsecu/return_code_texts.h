// What a return code of the crypto library means, for the trace.
#pragma once

#include "sec/kavsecu/function_table.h"

namespace quorvanti {

// Writes the lines for a failed crypto call. The context text comes with its leading blank; without a table the
// library is not asked for its own words. The caller holds the crypto lock.
void SsfTraceReturnCode(const char* context, std::int32_t code, SsfFunctionTable* table);

// Symbolic name and description of a code, or null when there is none.
const char* ssfCodeName(std::int32_t code);
const char* ssfCodeDescription(std::int32_t code);

}  // namespace quorvanti

// What the crypto library says about its version. The record belongs to the library and is cached until it is released.
#pragma once

#include "sec/kavsecu/function_table.h"

namespace quorvanti {

// The record's interface level; 0 when there is no usable record.
std::int32_t ssfInterfaceLevel(const SsfFunctionTable& table);
void ssfForgetVersionRecord();

}  // namespace quorvanti

// Why a return code usually comes up.
#pragma once

#include "tools/sso2ticket/code_catalogue.h"

#include <cstdint>

namespace quorvanti {

// Null where the meaning says it all.
const char* likelyCauses(CodeKind kind, std::int32_t code);

}  // namespace quorvanti

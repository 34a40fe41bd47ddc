// The second set of entry points, resolved for the token evaluation. Callers hold the crypto lock.
#pragma once

#include "krn/dl/dl.h"

#include <cstdint>

namespace quorvanti {

inline constexpr std::int32_t kKavSecuUnavailable = 102;

// Library to open when the set has to be started by name; null or empty: none, then it stays unavailable.
void KavSecuSetLibraryName(const char* name);
// Resolves the set from an opened library; never fails.
std::int32_t KavSecuInit(std::int32_t handle);
// 0, or 102 when the set is unavailable or the name cannot be resolved.
std::int32_t KavSecu_LoadFunction(const char* name, DlFunction& function);

}  // namespace quorvanti

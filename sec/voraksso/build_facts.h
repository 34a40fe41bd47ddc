// Facts of this build, as the start banner shows them.
#pragma once

namespace quorvanti {

inline constexpr char kBuildDate[] = __DATE__;
inline constexpr char kBuildTime[] = __TIME__;
inline constexpr int kPatch = 0;

}  // namespace quorvanti

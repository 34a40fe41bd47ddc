// The release as the trace names it: in the header of a file, in the record of an error and in the start banner.
#pragma once

namespace quorvanti {

inline constexpr char kRelease[] = "742";

}  // namespace quorvanti

// A look at the loader's work for its tests.
#pragma once

namespace quorvanti {

// The line about the name that was resolved last.
const char* ssfLoadLine();

}  // namespace quorvanti

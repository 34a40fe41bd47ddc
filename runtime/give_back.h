// The compiler's runtime is linked into each DLL for Windows, and leaves the process with it.
#pragma once

namespace quorvanti::runtime {

// For DllMain, as the last thing when the host lets the DLL go: gives back what the runtime holds for the process and
// for each of its threads. No exceptions and no thread_local variables afterwards.
void giveBack();

}  // namespace quorvanti::runtime

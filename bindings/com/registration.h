// What the library writes into the registry so that clients find its class, and takes out again.
#pragma once

#include <windows.h>

namespace quorvanti::com {

// Stops at the first failure. Where the process may write for the current user only, it is done for that user.
HRESULT registerServer() noexcept;
HRESULT unregisterServer() noexcept;

}  // namespace quorvanti::com

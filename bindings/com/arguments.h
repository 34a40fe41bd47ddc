// The room for the arguments of the operations, in bytes after conversion, terminators included.
#pragma once

#include "bindings/com/com_text.h"

namespace quorvanti::com {

inline constexpr std::size_t kFieldRoom = 128;  // key store, password, system id, client
inline constexpr std::size_t kTicketRoom = 8192;
inline constexpr std::size_t kLibraryRoom = 1024;

// The identities that the operations on assertion tickets cannot do without. Throws Failure.
void requireIdentity(BSTR systemId, BSTR client);

}  // namespace quorvanti::com

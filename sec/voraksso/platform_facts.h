// What differs between the platforms by name only.
#pragma once

namespace quorvanti {

// Crypto libraries that are looked for when nobody names one, in this order.
extern const char* const kDefaultCryptoLibraries[2];
// The system as the start banner shows it.
extern const char* const kSystemName;

}  // namespace quorvanti

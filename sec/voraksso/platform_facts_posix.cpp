#include "sec/voraksso/platform_facts.h"

namespace quorvanti {

const char* const kDefaultCryptoLibraries[2] = {"libkavcrypto.so", "libkavsecu.so"};
const char* const kSystemName = "Linux on x86_64";

}  // namespace quorvanti

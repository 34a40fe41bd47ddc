#include "sec/voraksso/platform_facts.h"

namespace quorvanti {

const char* const kDefaultCryptoLibraries[2] = {"kavcrypto.dll", "kavsecu.dll"};
const char* const kSystemName = "PC with Windows NT";

}  // namespace quorvanti

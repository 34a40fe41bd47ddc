#include "tools/sso2ticket/own_libcrypto.h"

namespace quorvanti {

void prepareLibcrypto() {}

}  // namespace quorvanti

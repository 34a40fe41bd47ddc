#include "tools/sso2ticket/own_libcrypto.h"

#include <openssl/crypto.h>

namespace quorvanti {

void prepareLibcrypto() {
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
}

}  // namespace quorvanti

// A fresh key with a certificate that it signed itself.
#pragma once

#include "tools/sso2ticket/key_store_file.h"

#include <string>

namespace quorvanti {

// keyType: "rsa-3072" or "ec-p256". Throws Failure for a subject that is no distinguished name.
KeyStore selfSigned(const std::string& subject, const std::string& keyType, int days);

}  // namespace quorvanti

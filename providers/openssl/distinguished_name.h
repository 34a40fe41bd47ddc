// Distinguished names and their text form (RFC 4514, most specific part first, UTF-8).
#pragma once

#include <string>
#include <string_view>

#include "providers/openssl/openssl_context.h"

namespace quorvanti::provider {

// Empty only for an empty name or when memory runs out.
std::string nameText(const X509_NAME* name);

// Null when the text is no distinguished name. An empty text is the empty name.
X509NamePtr parseName(std::string_view text);

}  // namespace quorvanti::provider

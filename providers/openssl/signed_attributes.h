// The signed attributes of a signature: read as strict DER, and the rules that make them vouch for a content.
#pragma once

#include <string_view>

#include "providers/openssl/signed_data.h"

namespace quorvanti::provider {

// Fills the attribute fields of `result`. Empty when the attributes could be read (`attributeFault` says whether they
// are also right), else the sentence that says why the whole signature is refused.
std::string_view readSignedAttributes(const DerElement& attributes, SignedData& result);

}  // namespace quorvanti::provider

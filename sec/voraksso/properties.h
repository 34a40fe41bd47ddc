// The named settings of the library. Internal readers take a copy under the property lock; what the public getter
// hands out is the stored text itself.
#pragma once

#include <string>

namespace quorvanti {

// The value as the public getter answers it; empty for "not set".
std::string propertyCopy(const char* name);

bool includeCertificateProperty();

}  // namespace quorvanti

// The named settings of the library. Internal readers take a copy under the property lock; what the public getter
// hands out is the stored text itself.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace quorvanti {

// The value as the public getter answers it; empty for "not set".
std::string propertyCopy(const char* name);

// KAV_EXT_CODEPAGE, filled up with zero bytes: what propertyCopy says, without looking for the name.
std::array<char, 4> codePageProperty();
// What the public getter answers, its trace lines included; none for null.
std::optional<std::string> propertyText(const char* name);

bool includeCertificateProperty();

}  // namespace quorvanti

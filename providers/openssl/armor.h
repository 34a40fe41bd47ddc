// The forms in which DER travels: as it is, as base64, as PEM.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace quorvanti::provider {

// Standard alphabet, white space anywhere, padding complete and at the end; anything else is nothing.
std::optional<std::vector<std::uint8_t>> decodeBase64(std::string_view text);

// The DER in `content`: the content itself when it begins as DER does, the first PEM block whose label ends with
// `label` (X509 CERTIFICATE, RSA PUBLIC KEY), or all of it as base64. Empty when it is none of these.
std::vector<std::uint8_t> withoutArmor(std::span<const std::uint8_t> content, std::string_view label);

// The label of the PEM block that withoutArmor() takes; empty when there is none.
std::string_view pemLabel(std::span<const std::uint8_t> content, std::string_view label);

}  // namespace quorvanti::provider

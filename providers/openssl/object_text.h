// What some DER or PEM is, and what is in it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quorvanti::provider {

// Nothing when the content is of no kind that is known.
std::optional<std::string> objectText(std::span<const std::uint8_t> content);

}  // namespace quorvanti::provider

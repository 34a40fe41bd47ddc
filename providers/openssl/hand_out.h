// Memory that callers get from the crypto library and give back through SsfDELSsfOctetstring.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti::provider {

// Copies the bytes into memory of the caller's, with a terminator behind them. False when memory runs out or an
// int32_t cannot tell the length; the outputs are then null and 0.
bool handOut(std::span<const std::uint8_t> bytes, std::uint8_t** out, std::int32_t* outLength) noexcept;
bool handOut(std::string_view text, char** out, std::int32_t* outLength) noexcept;

// Wipes and frees what handOut() made; null is nothing to do.
void takeBack(void* memory) noexcept;

}  // namespace quorvanti::provider

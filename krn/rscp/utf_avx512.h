// The UTF members in AVX-512 (with VBMI2, which moves bytes where a mask says), for processors that have it.
#pragma once

#include "krn/rscp/utf_steps.h"

namespace quorvanti {

// Members that convert as many whole characters as there are up to the first that is refused or does not fit. Nothing
// outside of what is consumed and produced is touched. What is left goes to the members in SSE2, so that these stay
// single functions: a short text would feel a second one.
template <WideForm form, ByteOrder order, ControlCodes controls>
std::int32_t avx512Decode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                          std::uint8_t* destinationEnd, const void* substitute, std::uint32_t* substituted);
template <WideForm form, ByteOrder order, ControlCodes controls>
std::int32_t avx512Encode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                          std::uint8_t* destinationEnd);

}  // namespace quorvanti

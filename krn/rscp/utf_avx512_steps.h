// The steps of the UTF members in AVX-512 (with VBMI2, which moves bytes where a mask says), for processors that have
// it.
#pragma once

#include "krn/rscp/utf_steps.h"

namespace quorvanti {

// Convert as many whole characters as there are up to the first that is refused or does not fit. Nothing outside of
// what is consumed and produced is touched.
template <WideForm form, ByteOrder order, ControlCodes controls>
BlockStep avx512Decode(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                       const std::uint8_t* end);
template <WideForm form, ByteOrder order, ControlCodes controls>
BlockStep avx512Encode(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                       const std::uint8_t* end);

struct Avx512Steps {
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep decode(const std::uint8_t*, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, const std::uint8_t* end) {
        return avx512Decode<form, order, controls>(from, sourceEnd, to, end);
    }
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep encode(const std::uint8_t*, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, const std::uint8_t* end) {
        return avx512Encode<form, order, controls>(from, sourceEnd, to, end);
    }
};

}  // namespace quorvanti

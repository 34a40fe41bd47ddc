// The steps of the UTF members in AVX-512 (with VBMI2, which moves bytes where a mask says), for processors that have
// it.
#pragma once

#include "krn/rscp/utf_steps.h"

namespace quorvanti {

// Members that convert as many whole characters as there are up to the first that is refused or does not fit. Nothing
// outside of what is consumed and produced is touched. What is left goes to `rest`, if there is one: a call of its own,
// so that a short text pays for one function only.
template <WideForm form, ByteOrder order, ControlCodes controls>
std::int32_t avx512Decode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                          std::uint8_t* destinationEnd, const void* substitute, std::uint32_t* substituted,
                          UtfDecoder rest);
template <WideForm form, ByteOrder order, ControlCodes controls>
std::int32_t avx512Encode(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                          std::uint8_t* destinationEnd, UtfEncoder rest);

struct Avx512Steps {
    // They are tried before anything else is prepared.
    static constexpr bool kGoesFirst = true;

    template <WideForm form, ByteOrder order, ControlCodes controls>
    static std::int32_t decodeFirst(const std::uint8_t*& source, const std::uint8_t* sourceEnd,
                                    std::uint8_t*& destination, std::uint8_t* destinationEnd, const void* substitute,
                                    std::uint32_t* substituted, UtfDecoder rest) {
        return avx512Decode<form, order, controls>(source, sourceEnd, destination, destinationEnd, substitute,
                                                   substituted, rest);
    }
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static std::int32_t encodeFirst(const std::uint8_t*& source, const std::uint8_t* sourceEnd,
                                    std::uint8_t*& destination, std::uint8_t* destinationEnd, UtfEncoder rest) {
        return avx512Encode<form, order, controls>(source, sourceEnd, destination, destinationEnd, rest);
    }

    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep decode(const std::uint8_t*, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, std::uint8_t* end) {
        const std::uint8_t* source = from;
        std::uint8_t* destination = to;
        avx512Decode<form, order, controls>(source, sourceEnd, destination, end, nullptr, nullptr, nullptr);
        return {source - from, destination - to};
    }
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep encode(const std::uint8_t*, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, std::uint8_t* end) {
        const std::uint8_t* source = from;
        std::uint8_t* destination = to;
        avx512Encode<form, order, controls>(source, sourceEnd, destination, end, nullptr);
        return {source - from, destination - to};
    }
};

}  // namespace quorvanti

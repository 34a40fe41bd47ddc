// The steps in which the UTF members take many characters at once. Without vector instructions there are none, and the
// members go character by character.
#pragma once

#if defined(__SSE2__) && !defined(QUORVANTI_WITHOUT_VECTORS)
#include "krn/rscp/utf_ascii.h"
#include "krn/rscp/utf_block_encoder.h"
#else
#include <cstddef>
#include <cstdint>

#include "krn/rscp/utf_tables.h"

namespace quorvanti {

struct BlockStep {
    std::ptrdiff_t consumed = 0;
    std::ptrdiff_t produced = 0;
};

template <WideForm form, ByteOrder order, ControlCodes controls>
struct BlockDecoder {
    static BlockStep decode(const std::uint8_t*, const std::uint8_t*, const std::uint8_t*, std::uint8_t*,
                            const std::uint8_t*) {
        return {};
    }
};

template <WideForm form, ByteOrder order, ControlCodes controls>
struct BlockEncoder {
    static BlockStep encode(const std::uint8_t*, const std::uint8_t*, const std::uint8_t*, std::uint8_t*,
                            const std::uint8_t*) {
        return {};
    }
};

template <WideForm form, ByteOrder order, ControlCodes controls>
bool widenAscii(const std::uint8_t*, std::uint8_t*) {
    return false;
}

template <WideForm form, ByteOrder order, ControlCodes controls>
bool narrowAscii(const std::uint8_t*, std::uint8_t*) {
    return false;
}

}  // namespace quorvanti
#endif

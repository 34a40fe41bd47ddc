// The steps of the UTF members in SSE2, which every x64 processor has.
#pragma once

#include <algorithm>

#include "krn/rscp/utf_ascii.h"
#include "krn/rscp/utf_block_encoder.h"

namespace quorvanti {

struct Sse2Steps {
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep decode(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, std::uint8_t* end) {
        constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);
        const std::uint8_t* const source = from;
        const std::uint8_t* const destination = to;
        bool ascii = true;
        bool threes = sourceEnd - from > 3 && (from[0] & from[3] & 0xF0) == 0xE0;
        while (sourceEnd - from >= kSmallestBlock) {
            if (threes) {
                const BlockStep step = decodeThrees<form, order, controls>(from, sourceEnd, to, end);
                from += step.consumed;
                to += step.produced;
                if (sourceEnd - from < kSmallestBlock) {
                    break;
                }
            }
            if (ascii) {
                const std::ptrdiff_t most = std::min(sourceEnd - from, (end - to) / kUnit);
                std::ptrdiff_t count = 0;
                while (most - count >= 16 && widenAscii<form, order, controls>(from + count, to + count * kUnit)) {
                    count += 16;
                }
                from += count;
                to += count * kUnit;
                if (sourceEnd - from < kSmallestBlock) {
                    break;
                }
            }
            const BlockStep step = BlockDecoder<form, order, controls>::decode(begin, from, sourceEnd, to, end);
            if (step.consumed == 0) {
                break;
            }
            from += step.consumed;
            to += step.produced;
            ascii = step.consumed * kUnit == step.produced;
            threes = 4 * step.consumed * kUnit > 11 * step.produced;
        }
        return {from - source, to - destination};
    }

    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep encode(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                            std::uint8_t* to, std::uint8_t* end) {
        constexpr std::ptrdiff_t kUnit = sizeof(typename Wide<form>::Unit);
        const std::uint8_t* const source = from;
        const std::uint8_t* const destination = to;
        bool ascii = true;
        while (sourceEnd - from >= kSmallestBlock) {
            if (ascii) {
                const std::ptrdiff_t most = std::min((sourceEnd - from) / kUnit, end - to);
                std::ptrdiff_t count = 0;
                while (most - count >= 16 && narrowAscii<form, order, controls>(from + count * kUnit, to + count)) {
                    count += 16;
                }
                from += count * kUnit;
                to += count;
                if (sourceEnd - from < kSmallestBlock) {
                    break;
                }
            }
            const BlockStep step = BlockEncoder<form, order, controls>::encode(begin, from, sourceEnd, to, end);
            if (step.consumed == 0) {
                break;
            }
            from += step.consumed;
            to += step.produced;
            ascii = step.consumed == step.produced * kUnit;
        }
        return {from - source, to - destination};
    }

private:
    // Long characters in a row are read faster one by one: what follows them can be foreseen. Of three bytes, and the
    // ASCII between them.
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep decodeThrees(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                                  const std::uint8_t* end) {
        using Unit = typename Wide<form>::Unit;
        const std::uint8_t* const source = from;
        const std::uint8_t* const destination = to;
        while (sourceEnd - from >= 3 && to < end) {
            std::uint32_t value = from[0];
            if ((value & 0xF0) == 0xE0 && (from[1] & 0xC0) == 0x80 && (from[2] & 0xC0) == 0x80) {
                value = (value & 0x0F) << 12 | (from[1] & 0x3FU) << 6 | (from[2] & 0x3FU);
                if (value < 0x800) {
                    break;
                }
                from += 3;
            } else if (value < 0x7F && (controls == ControlCodes::allowed || value >= 0x20)) {
                ++from;
            } else {
                break;
            }
            storeOrdered<order>(to, static_cast<Unit>(value));
            to += sizeof(Unit);
        }
        return {from - source, to - destination};
    }

    // So few bytes are converted before a block is prepared.
    static constexpr std::ptrdiff_t kSmallestBlock = 5;
};

}  // namespace quorvanti

// Steps: how the UTF members take many characters at once. What they leave, above all whatever is refused, goes
// character by character.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "krn/rscp/utf_converters.h"

namespace quorvanti {

template <class Unit>
constexpr Unit reversed(Unit unit) {
    Unit result = 0;
    for (std::size_t i = 0; i < sizeof(Unit); ++i) {
        result = static_cast<Unit>(result << 8 | (unit >> (8 * i) & 0xFF));
    }
    return result;
}

// Units need not be aligned.
template <ByteOrder order, class Unit>
Unit loadOrdered(const std::uint8_t* from) {
    Unit unit;
    std::memcpy(&unit, from, sizeof unit);
    return order == ByteOrder::swapped ? reversed(unit) : unit;
}

template <ByteOrder order, class Unit>
void storeOrdered(std::uint8_t* to, Unit unit) {
    const Unit stored = order == ByteOrder::swapped ? reversed(unit) : unit;
    std::memcpy(to, &stored, sizeof stored);
}

// How far the positions move. No move: what stands there is no matter for steps.
struct BlockStep {
    std::ptrdiff_t consumed = 0;
    std::ptrdiff_t produced = 0;
};

// On a machine without vectors there are none. `begin` is where the whole source begins, `end` where the whole units of
// the destination end.
struct PortableSteps {
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep decode(const std::uint8_t* /*begin*/, const std::uint8_t* /*from*/,
                            const std::uint8_t* /*sourceEnd*/, std::uint8_t* /*to*/, std::uint8_t* /*end*/) {
        return {};
    }
    template <WideForm form, ByteOrder order, ControlCodes controls>
    static BlockStep encode(const std::uint8_t* /*begin*/, const std::uint8_t* /*from*/,
                            const std::uint8_t* /*sourceEnd*/, std::uint8_t* /*to*/, std::uint8_t* /*end*/) {
        return {};
    }
};

}  // namespace quorvanti

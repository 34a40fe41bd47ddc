#include "krn/rscp/utf_converters.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "krn/rscp/utf_ascii.h"
#include "krn/rscp/utf_tables.h"

namespace quorvanti {
namespace {

std::int32_t returnErrorClass(std::int32_t errorClass, char, std::int32_t, const char*, std::int32_t, std::int32_t,
                              const char*, const char*, const char*, std::int32_t, std::int32_t, std::int32_t) {
    return errorClass;
}

std::atomic<UtfErrorHook> errorHook{returnErrorClass};

std::int32_t report(const Refusal& refusal, const char* module) {
    const UtfErrorHook hook = errorHook.load(std::memory_order_acquire);
    return hook(refusal.errorClass, 'O', -1, module, refusal.site, __LINE__, refusal.message, nullptr, nullptr, 0, 0,
                0);
}

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
Unit load(const std::uint8_t* from) {
    Unit unit;
    std::memcpy(&unit, from, sizeof unit);
    return order == ByteOrder::swapped ? reversed(unit) : unit;
}

template <ByteOrder order, class Unit>
void store(std::uint8_t* to, Unit unit) {
    const Unit stored = order == ByteOrder::swapped ? reversed(unit) : unit;
    std::memcpy(to, &stored, sizeof stored);
}

// So many ASCII characters in a row make it worth trying to take the next ones together.
constexpr std::ptrdiff_t kRow = 8;

// What became of one character: how far both positions move, and the refusal that ends the conversion, if any.
struct Step {
    const Refusal* refusal;
    std::size_t consumed;
    std::size_t produced;
};

constexpr Step stop(const Refusal& refusal, std::size_t consumed = 0) {
    return {&refusal, consumed, 0};
}

template <std::size_t number>
using Constant = std::integral_constant<std::size_t, number>;

struct Substitution {
    const std::uint8_t* unit;
    std::uint32_t* counter;
};

// Positions live in local variables of the loops: they stay in registers, although bytes are written in between.
template <WideForm form, ByteOrder order, ControlCodes controls>
struct Decoder {
    using Unit = typename Wide<form>::Unit;
    static constexpr std::ptrdiff_t kUnit = sizeof(Unit);

    static std::int32_t run(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                            std::uint8_t* destinationEnd, const void* substitute, std::uint32_t* substituted) {
        // Half a unit at the end of the destination is no room.
        const std::uint8_t* const end = destinationEnd - (destinationEnd - destination) % kUnit;
        const Substitution substitution{static_cast<const std::uint8_t*>(substitute), substituted};
        const std::uint8_t* from = source;
        std::uint8_t* to = destination;
        const Refusal* refusal = nullptr;
        std::ptrdiff_t asciiInARow = kRow;
        while (from < sourceEnd) {
            if (asciiInARow >= kRow) {
                asciiInARow = 0;
                if (const std::ptrdiff_t count = asciiRun(from, sourceEnd, to, end)) {
                    from += count;
                    to += count * kUnit;
                    continue;
                }
            }
            const std::size_t followUps = kLeadBytes<controls>[*from];
            if (to >= end) {
                refusal = &kDestinationOverflow;
                break;
            }
            if (followUps == 0) {
                store<order>(to, static_cast<Unit>(*from));
                ++from;
                to += kUnit;
                ++asciiInARow;
                continue;
            }
            asciiInARow = 0;
            const Step step = character(followUps, from, sourceEnd, to, end, substitution);
            from += step.consumed;
            to += step.produced;
            if (step.refusal != nullptr) {
                refusal = step.refusal;
                break;
            }
        }
        source = from;
        destination = to;
        return refusal == nullptr ? 0 : report(*refusal, Wide<form>::kModules[order == ByteOrder::swapped]);
    }

private:
    // Converts what is plain ASCII in steps of sixteen, then eight; returns the number of characters.
    static std::ptrdiff_t asciiRun(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                                   const std::uint8_t* end) {
        const std::ptrdiff_t most = std::min(sourceEnd - from, (end - to) / kUnit);
        std::ptrdiff_t count = 0;
        while (most - count >= 16 && widenAscii<form, order, controls, 16>(from + count, to + count * kUnit)) {
            count += 16;
        }
        if (most - count >= 8 && widenAscii<form, order, controls, 8>(from + count, to + count * kUnit)) {
            count += 8;
        }
        return count;
    }

    // The frequent lengths are told apart here, so that their sequences are read without a loop.
    static Step character(std::size_t followUps, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                          std::uint8_t* to, const std::uint8_t* end, const Substitution& substitution) {
        if (followUps == 2) {
            return sequence(Constant<2>{}, from, sourceEnd, to, end, substitution);
        }
        if (followUps == 1) {
            return sequence(Constant<1>{}, from, sourceEnd, to, end, substitution);
        }
        if (followUps > kMostFollowUps) {
            return refuse(followUps == kControlCode ? kControlNotHere : kIllegalStartByte, 1, to, substitution);
        }
        return sequence(followUps, from, sourceEnd, to, end, substitution);
    }

    template <class Count>
    static Step sequence(Count followUps, const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                         const std::uint8_t* end, const Substitution& substitution) {
        const std::size_t length = followUps + 1;
        if (sourceEnd - from < static_cast<std::ptrdiff_t>(length)) {
            return stop(kExhausted);
        }
        std::uint32_t value = from[0];
        std::uint32_t all = 0x80;
        std::uint32_t any = 0xBF;
        for (std::size_t i = 1; i < length; ++i) {
            value = value * 64 + from[i];
            all &= from[i];
            any |= from[i];
        }
        value -= kOffsets[followUps];
        if (all == 0 || any != 0xBF) {
            return refuse(kIllegalFollowUp, length, to, substitution);
        }
        if (value < kSmallest[followUps]) {
            return refuse(kOverlong, length, to, substitution);
        }
        // What two and three bytes can hold fits every form; saying so takes the tests out of the frequent lengths.
        if (followUps > 2 && value > Wide<form>::kLargest) {
            return refuse(Wide<form>::kBeyond, length, to, substitution);
        }
        // U+0080 is deliberately let through although the encoders refuse it; texts that hold it stay readable.
        if (controls == ControlCodes::refused && followUps == 1 && value > 0x80 && value < 0xA0) {
            return refuse(kControlNotHere, length, to, substitution);
        }
        if (form == WideForm::utf16 && followUps > 2 && value > 0xFFFF) {
            if (to + kUnit >= end) {
                return stop(kDestinationOverflow);
            }
            store<order>(to, static_cast<Unit>(((value - 0x10000) >> 10) + 0xD800));
            store<order>(to + kUnit, static_cast<Unit>((value & 0x3FF) + 0xDC00));
            return {nullptr, length, 2 * kUnit};
        }
        store<order>(to, static_cast<Unit>(value));
        return {nullptr, length, kUnit};
    }

    // Substitutes, or stops at the place that belongs to the refusal.
    static Step refuse(const Refusal& refusal, std::size_t length, std::uint8_t* to, const Substitution& substitution) {
        if (substitution.unit == nullptr) {
            return stop(refusal, refusal.stop == StopAt::lastByte ? length - 1 : 0);
        }
        store<order>(to, load<ByteOrder::native, Unit>(substitution.unit));
        if (substitution.counter != nullptr) {
            ++*substitution.counter;
        }
        return {nullptr, refusal.resume == ResumeAfter::sequence ? length : 1, kUnit};
    }
};

template <WideForm form, ByteOrder order, ControlCodes controls>
struct Encoder {
    using Unit = typename Wide<form>::Unit;
    static constexpr std::ptrdiff_t kUnit = sizeof(Unit);

    static std::int32_t run(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                            std::uint8_t* destinationEnd) {
        const std::uint8_t* from = source;
        std::uint8_t* to = destination;
        const Refusal* refusal = nullptr;
        std::ptrdiff_t asciiInARow = kRow;
        while (from < sourceEnd) {
            if (asciiInARow >= kRow) {
                asciiInARow = 0;
                if (const std::ptrdiff_t count = asciiRun(from, sourceEnd, to, destinationEnd)) {
                    from += count * kUnit;
                    to += count;
                    continue;
                }
            }
            // Half a unit at the end of the source is a character cut short.
            if (sourceEnd - from < kUnit) {
                refusal = &kExhausted;
                break;
            }
            const std::uint32_t value = load<order, Unit>(from);
            if (value < 0x7F && to < destinationEnd && (controls == ControlCodes::allowed || value >= 0x20)) {
                *to++ = static_cast<std::uint8_t>(value);
                from += kUnit;
                ++asciiInARow;
                continue;
            }
            asciiInARow = 0;
            const Step step = character(value, from, sourceEnd, to, destinationEnd);
            from += step.consumed;
            to += step.produced;
            if (step.refusal != nullptr) {
                refusal = step.refusal;
                break;
            }
        }
        source = from;
        destination = to;
        return refusal == nullptr ? 0 : report(*refusal, Wide<form>::kModules[order == ByteOrder::swapped]);
    }

private:
    static std::ptrdiff_t asciiRun(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                                   const std::uint8_t* end) {
        const std::ptrdiff_t most = std::min((sourceEnd - from) / kUnit, end - to);
        std::ptrdiff_t count = 0;
        while (most - count >= 16 && narrowAscii<form, order, controls, 16>(from + count * kUnit, to + count)) {
            count += 16;
        }
        if (most - count >= 8 && narrowAscii<form, order, controls, 8>(from + count * kUnit, to + count)) {
            count += 8;
        }
        return count;
    }

    static Step character(std::uint32_t value, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                          std::uint8_t* to, const std::uint8_t* end) {
        std::size_t consumed = kUnit;
        if (form == WideForm::utf16 && value >= 0xD800 && value <= 0xDFFF) {
            if (const Refusal* refusal = pair(value, from, sourceEnd)) {
                return stop(*refusal);
            }
            consumed = 2 * kUnit;
        }
        if (controls == ControlCodes::refused && (value < 0x20 || (value >= 0x7F && value <= 0x9F))) {
            return stop(kControlNotAllowed);
        }
        // The frequent lengths are told apart here, so that their sequences are written without a loop.
        if (value >= 0x800 && value < 0x10000) {
            return write(Constant<3>{}, value, consumed, to, end);
        }
        if (value >= 0x80 && value < 0x800) {
            return write(Constant<2>{}, value, consumed, to, end);
        }
        std::size_t length = kLengths[static_cast<std::size_t>(std::bit_width(value))];
        if (length == kTooLong) {
            if constexpr (!kReplacesBeyond31Bits<form, order, controls>) {
                return stop(kOnly31Bits);
            }
            value = kReplacement;
            length = kReplacementLength;
        }
        return write(length, value, consumed, to, end);
    }

    // `value` is the first surrogate and becomes the character of the pair.
    static const Refusal* pair(std::uint32_t& value, const std::uint8_t* from, const std::uint8_t* sourceEnd) {
        if (value >= 0xDC00) {
            return &kLowInMiddle;
        }
        if (sourceEnd - from < 2 * kUnit) {
            return &kHalfAtEnd;
        }
        const std::uint32_t low = load<order, Unit>(from + kUnit);
        if (low < 0xDC00 || low > 0xDFFF) {
            return &kHalfInMiddle;
        }
        value = ((value - 0xD800) << 10) + (low - 0xDC00) + 0x10000;
        return nullptr;
    }

    template <class Length>
    static Step write(Length length, std::uint32_t value, std::size_t consumed, std::uint8_t* to,
                      const std::uint8_t* end) {
        if (end - to < static_cast<std::ptrdiff_t>(length)) {
            return stop(kDestinationOverflow);
        }
        for (std::size_t i = length - 1; i > 0; --i) {
            to[i] = static_cast<std::uint8_t>(0x80 | (value & 0x3F));
            value >>= 6;
        }
        to[0] = static_cast<std::uint8_t>(kMarks[length] | value);
        return {nullptr, consumed, length};
    }
};

// The member of every form, byte order and treatment of control codes.
template <template <WideForm, ByteOrder, ControlCodes> class Direction, WideForm form>
constexpr auto member(ByteOrder order, ControlCodes controls) {
    using enum ByteOrder;
    using enum ControlCodes;
    if (order == native) {
        return controls == allowed ? Direction<form, native, allowed>::run : Direction<form, native, refused>::run;
    }
    return controls == allowed ? Direction<form, swapped, allowed>::run : Direction<form, swapped, refused>::run;
}

template <template <WideForm, ByteOrder, ControlCodes> class Direction>
constexpr auto member(WideForm form, ByteOrder order, ControlCodes controls) {
    switch (form) {
        case WideForm::ucs2:
            return member<Direction, WideForm::ucs2>(order, controls);
        case WideForm::utf16:
            return member<Direction, WideForm::utf16>(order, controls);
        case WideForm::ucs4:
            break;
    }
    return member<Direction, WideForm::ucs4>(order, controls);
}

}  // namespace

void setUtfErrorHook(UtfErrorHook hook) {
    errorHook.store(hook == nullptr ? returnErrorClass : hook, std::memory_order_release);
}

UtfEncoder utfEncoder(WideForm form, ByteOrder order, ControlCodes controls) {
    return member<Encoder>(form, order, controls);
}

UtfDecoder utfDecoder(WideForm form, ByteOrder order, ControlCodes controls) {
    return member<Decoder>(form, order, controls);
}

}  // namespace quorvanti

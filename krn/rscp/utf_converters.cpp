#include "krn/rscp/utf_converters.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "krn/rscp/utf_steps.h"
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

// What became of one character: how far both positions move, and the refusal that ends the conversion, if any.
struct Step {
    const Refusal* refusal;
    std::size_t consumed;
    std::size_t produced;
};

constexpr Step stop(const Refusal& refusal, std::size_t consumed = 0) {
    return {&refusal, consumed, 0};
}

// So many bytes are taken character by character before the next block is tried: where no block could be taken, and
// where long characters follow one another.
constexpr std::ptrdiff_t kOneByOne = 16;
constexpr std::ptrdiff_t kLongCharacters = 48;
// So few bytes are converted before a block is prepared.
constexpr std::ptrdiff_t kSmallestBlock = 5;

template <std::size_t number>
using Constant = std::integral_constant<std::size_t, number>;

// The loop of all members. Positions live in local variables: they stay in registers, although bytes are written in
// between.
template <class Direction>
std::int32_t convert(const Direction& direction, const std::uint8_t*& source, const std::uint8_t* sourceEnd,
                     std::uint8_t*& destination, const std::uint8_t* end, const char* module) {
    const std::uint8_t* const begin = source;
    const std::uint8_t* from = source;
    std::uint8_t* to = destination;
    const std::uint8_t* nextBlock = from;
    bool ascii = true;
    const Refusal* refusal = nullptr;
    while (from < sourceEnd) {
        if (from >= nextBlock && sourceEnd - from >= kSmallestBlock) {
            BlockStep step = ascii ? Direction::ascii(from, sourceEnd, to, end) : BlockStep{};
            if (step.consumed == 0) {
                step = Direction::block(begin, from, sourceEnd, to, end);
                ascii = step.consumed * Direction::kTo == step.produced * Direction::kFrom;
            }
            if (step.consumed != 0) {
                from += step.consumed;
                to += step.produced;
                // Long characters in a row are read faster one by one: what follows them can be foreseen.
                if (4 * step.consumed * Direction::kTo > 11 * step.produced * Direction::kFrom) {
                    nextBlock = from + std::min(sourceEnd - from, kLongCharacters);
                }
                continue;
            }
            nextBlock = from + std::min(sourceEnd - from, kOneByOne);
        }
        const Step step = direction.character(from, sourceEnd, to, end);
        from += step.consumed;
        to += step.produced;
        if (step.refusal != nullptr) {
            refusal = step.refusal;
            break;
        }
    }
    source = from;
    destination = to;
    return refusal == nullptr ? 0 : report(*refusal, module);
}

template <WideForm form, ByteOrder order, ControlCodes controls>
class Decoder {
    using Unit = typename Wide<form>::Unit;

public:
    static constexpr std::ptrdiff_t kFrom = 1;
    static constexpr std::ptrdiff_t kTo = sizeof(Unit);

    static std::int32_t run(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                            std::uint8_t* destinationEnd, const void* substitute, std::uint32_t* substituted) {
        // Half a unit at the end of the destination is no room.
        const std::uint8_t* const end = destinationEnd - (destinationEnd - destination) % kTo;
        const Decoder decoder(static_cast<const std::uint8_t*>(substitute), substituted);
        return convert(decoder, source, sourceEnd, destination, end, Wide<form>::kModules[order == ByteOrder::swapped]);
    }

    static BlockStep ascii(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                           const std::uint8_t* end) {
        const std::ptrdiff_t most = std::min(sourceEnd - from, (end - to) / kTo);
        std::ptrdiff_t count = 0;
        while (most - count >= 16 && widenAscii<form, order, controls>(from + count, to + count * kTo)) {
            count += 16;
        }
        return {count, count * kTo};
    }

    static BlockStep block(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                           std::uint8_t* to, const std::uint8_t* end) {
        return BlockDecoder<form, order, controls>::decode(begin, from, sourceEnd, to, end);
    }

    Step character(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                   const std::uint8_t* end) const {
        const std::size_t followUps = kLeadBytes<controls>[*from];
        if (to >= end) {
            return stop(kDestinationOverflow);
        }
        if (followUps == 0) {
            store<order>(to, static_cast<Unit>(*from));
            return {nullptr, 1, kTo};
        }
        if (followUps == 2) {  // the frequent length, read without a loop
            return sequence(Constant<2>{}, from, sourceEnd, to, end);
        }
        if (followUps > kMostFollowUps) {
            return refuse(followUps == kControlCode ? kControlNotHere : kIllegalStartByte, 1, to);
        }
        return sequence(followUps, from, sourceEnd, to, end);
    }

private:
    Decoder(const std::uint8_t* substitute, std::uint32_t* substituted)
        : substitute_(substitute), substituted_(substituted) {}

    template <class Count>
    Step sequence(Count followUps, const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                  const std::uint8_t* end) const {
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
            return refuse(kIllegalFollowUp, length, to);
        }
        if (value < kSmallest[followUps]) {
            return refuse(kOverlong, length, to);
        }
        if (followUps > 2 && value > Wide<form>::kLargest) {
            return refuse(Wide<form>::kBeyond, length, to);
        }
        // U+0080 is deliberately let through although the encoders refuse it; texts that hold it stay readable.
        if (controls == ControlCodes::refused && followUps == 1 && value > 0x80 && value < 0xA0) {
            return refuse(kControlNotHere, length, to);
        }
        if (form == WideForm::utf16 && followUps > 2 && value > 0xFFFF) {
            if (to + kTo >= end) {
                return stop(kDestinationOverflow);
            }
            store<order>(to, static_cast<Unit>(((value - 0x10000) >> 10) + 0xD800));
            store<order>(to + kTo, static_cast<Unit>((value & 0x3FF) + 0xDC00));
            return {nullptr, length, 2 * kTo};
        }
        store<order>(to, static_cast<Unit>(value));
        return {nullptr, length, kTo};
    }

    // Substitutes, or stops at the place that belongs to the refusal.
    Step refuse(const Refusal& refusal, std::size_t length, std::uint8_t* to) const {
        if (substitute_ == nullptr) {
            return stop(refusal, refusal.stop == StopAt::lastByte ? length - 1 : 0);
        }
        store<order>(to, load<ByteOrder::native, Unit>(substitute_));
        if (substituted_ != nullptr) {
            ++*substituted_;
        }
        return {nullptr, refusal.resume == ResumeAfter::sequence ? length : 1, kTo};
    }

    const std::uint8_t* substitute_;
    std::uint32_t* substituted_;
};

template <WideForm form, ByteOrder order, ControlCodes controls>
class Encoder {
    using Unit = typename Wide<form>::Unit;

public:
    static constexpr std::ptrdiff_t kFrom = sizeof(Unit);
    static constexpr std::ptrdiff_t kTo = 1;

    static std::int32_t run(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                            std::uint8_t* destinationEnd) {
        return convert(Encoder(), source, sourceEnd, destination, destinationEnd,
                       Wide<form>::kModules[order == ByteOrder::swapped]);
    }

    static BlockStep ascii(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                           const std::uint8_t* end) {
        const std::ptrdiff_t most = std::min((sourceEnd - from) / kFrom, end - to);
        std::ptrdiff_t count = 0;
        while (most - count >= 16 && narrowAscii<form, order, controls>(from + count * kFrom, to + count)) {
            count += 16;
        }
        return {count * kFrom, count};
    }

    static BlockStep block(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                           std::uint8_t* to, const std::uint8_t* end) {
        return BlockEncoder<form, order, controls>::encode(begin, from, sourceEnd, to, end);
    }

    static Step character(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                          const std::uint8_t* end) {
        // Half a unit at the end of the source is a character cut short.
        if (sourceEnd - from < kFrom) {
            return stop(kExhausted);
        }
        std::uint32_t value = load<order, Unit>(from);
        std::size_t consumed = kFrom;
        if (form == WideForm::utf16 && value >= 0xD800 && value <= 0xDFFF) {
            if (const Refusal* refusal = pair(value, from, sourceEnd)) {
                return stop(*refusal);
            }
            consumed = 2 * kFrom;
        }
        if (controls == ControlCodes::refused && (value < 0x20 || (value >= 0x7F && value <= 0x9F))) {
            return stop(kControlNotAllowed);
        }
        std::size_t length = kLengths[static_cast<std::size_t>(std::bit_width(value))];
        if (length == kTooLong) {
            if constexpr (!kReplacesBeyond31Bits<form, order, controls>) {
                return stop(kOnly31Bits);
            }
            value = kReplacement;
            length = kReplacementLength;
        }
        if (end - to < static_cast<std::ptrdiff_t>(length)) {
            return stop(kDestinationOverflow);
        }
        write(value, length, to);
        return {nullptr, consumed, length};
    }

private:
    // `value` is the first surrogate and becomes the character of the pair.
    static const Refusal* pair(std::uint32_t& value, const std::uint8_t* from, const std::uint8_t* sourceEnd) {
        if (value >= 0xDC00) {
            return &kLowInMiddle;
        }
        if (sourceEnd - from < 2 * kFrom) {
            return &kHalfAtEnd;
        }
        const std::uint32_t low = load<order, Unit>(from + kFrom);
        if (low < 0xDC00 || low > 0xDFFF) {
            return &kHalfInMiddle;
        }
        value = ((value - 0xD800) << 10) + (low - 0xDC00) + 0x10000;
        return nullptr;
    }

    static void write(std::uint32_t value, std::size_t length, std::uint8_t* to) {
        for (std::size_t i = length - 1; i > 0; --i) {
            to[i] = static_cast<std::uint8_t>(0x80 | (value & 0x3F));
            value >>= 6;
        }
        to[0] = static_cast<std::uint8_t>(kMarks[length] | value);
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

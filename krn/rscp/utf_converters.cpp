#include "krn/rscp/utf_converters.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "krn/rscp/utf_steps.h"
#include "krn/rscp/utf_tables.h"
#ifdef __SSE2__
#include "krn/rscp/utf_sse2_steps.h"
#endif
#ifdef QUORVANTI_AVX512
#include "krn/rscp/utf_avx512.h"
#endif

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

// What became of one character: how far both positions move, and the refusal that ends the conversion, if any.
struct Step {
    const Refusal* refusal;
    std::size_t consumed;
    std::size_t produced;
};

constexpr Step stop(const Refusal& refusal, std::size_t consumed = 0) {
    return {&refusal, consumed, 0};
}

// So many bytes are taken character by character before steps are tried again.
constexpr std::ptrdiff_t kOneByOne = 16;

template <std::size_t number>
using Constant = std::integral_constant<std::size_t, number>;

// The loop of all members. Positions live in local variables: they stay in registers, although bytes are written in
// between.
template <class Direction>
std::int32_t convert(const Direction& direction, const std::uint8_t*& source, const std::uint8_t* sourceEnd,
                     std::uint8_t*& destination, std::uint8_t* end, const char* module) {
    const std::uint8_t* const begin = source;
    const std::uint8_t* from = source;
    std::uint8_t* to = destination;
    const std::uint8_t* nextSteps = from;
    const Refusal* refusal = nullptr;
    while (from < sourceEnd) {
        if (from >= nextSteps) {
            const BlockStep many = Direction::steps(begin, from, sourceEnd, to, end);
            from += many.consumed;
            to += many.produced;
            if (from >= sourceEnd) {
                break;
            }
            nextSteps = from + std::min(sourceEnd - from, kOneByOne);
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

template <class Steps, WideForm form, ByteOrder order, ControlCodes controls>
class Decoder {
    using Unit = typename Wide<form>::Unit;

    static constexpr std::ptrdiff_t kTo = sizeof(Unit);

public:
    static std::int32_t run(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                            std::uint8_t* destinationEnd, const void* substitute, std::uint32_t* substituted) {
        // Half a unit at the end of the destination is no room.
        std::uint8_t* const end = destinationEnd - (destinationEnd - destination) % kTo;
        const Decoder decoder(static_cast<const std::uint8_t*>(substitute), substituted);
        return convert(decoder, source, sourceEnd, destination, end, Wide<form>::kModules[order == ByteOrder::swapped]);
    }

    static BlockStep steps(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                           std::uint8_t* to, std::uint8_t* end) {
        return Steps::template decode<form, order, controls>(begin, from, sourceEnd, to, end);
    }

    Step character(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                   const std::uint8_t* end) const {
        const std::size_t followUps = kLeadBytes<controls>[*from];
        if (to >= end) {
            return stop(kDestinationOverflow);
        }
        if (followUps == 0) {
            storeOrdered<order>(to, static_cast<Unit>(*from));
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
            storeOrdered<order>(to, static_cast<Unit>(((value - 0x10000) >> 10) + 0xD800));
            storeOrdered<order>(to + kTo, static_cast<Unit>((value & 0x3FF) + 0xDC00));
            return {nullptr, length, 2 * kTo};
        }
        storeOrdered<order>(to, static_cast<Unit>(value));
        return {nullptr, length, kTo};
    }

    // Substitutes, or stops at the place that belongs to the refusal.
    Step refuse(const Refusal& refusal, std::size_t length, std::uint8_t* to) const {
        if (substitute_ == nullptr) {
            return stop(refusal, refusal.stop == StopAt::lastByte ? length - 1 : 0);
        }
        storeOrdered<order>(to, loadOrdered<ByteOrder::native, Unit>(substitute_));
        if (substituted_ != nullptr) {
            ++*substituted_;
        }
        return {nullptr, refusal.resume == ResumeAfter::sequence ? length : 1, kTo};
    }

    const std::uint8_t* substitute_;
    std::uint32_t* substituted_;
};

template <class Steps, WideForm form, ByteOrder order, ControlCodes controls>
class Encoder {
    using Unit = typename Wide<form>::Unit;

    static constexpr std::ptrdiff_t kFrom = sizeof(Unit);

public:
    static std::int32_t run(const std::uint8_t*& source, const std::uint8_t* sourceEnd, std::uint8_t*& destination,
                            std::uint8_t* destinationEnd) {
        return convert(Encoder(), source, sourceEnd, destination, destinationEnd,
                       Wide<form>::kModules[order == ByteOrder::swapped]);
    }

    static BlockStep steps(const std::uint8_t* begin, const std::uint8_t* from, const std::uint8_t* sourceEnd,
                           std::uint8_t* to, std::uint8_t* end) {
        return Steps::template encode<form, order, controls>(begin, from, sourceEnd, to, end);
    }

    static Step character(const std::uint8_t* from, const std::uint8_t* sourceEnd, std::uint8_t* to,
                          const std::uint8_t* end) {
        // Half a unit at the end of the source is a character cut short.
        if (sourceEnd - from < kFrom) {
            return stop(kExhausted);
        }
        std::uint32_t value = loadOrdered<order, Unit>(from);
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
        const std::uint32_t low = loadOrdered<order, Unit>(from + kFrom);
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

#ifdef QUORVANTI_AVX512
// These know no steps: they are members of their own.
template <class, WideForm form, ByteOrder order, ControlCodes controls>
struct Avx512Encoder {
    static constexpr UtfEncoder run = avx512Encode<form, order, controls>;
};
template <class, WideForm form, ByteOrder order, ControlCodes controls>
struct Avx512Decoder {
    static constexpr UtfDecoder run = avx512Decode<form, order, controls>;
};
#endif

// The member of every form, byte order and treatment of control codes.
template <template <class, WideForm, ByteOrder, ControlCodes> class Direction, class Steps, WideForm form>
constexpr auto member(ByteOrder order, ControlCodes controls) {
    using enum ByteOrder;
    using enum ControlCodes;
    if (order == native) {
        return controls == allowed ? Direction<Steps, form, native, allowed>::run
                                   : Direction<Steps, form, native, refused>::run;
    }
    return controls == allowed ? Direction<Steps, form, swapped, allowed>::run
                               : Direction<Steps, form, swapped, refused>::run;
}

template <template <class, WideForm, ByteOrder, ControlCodes> class Direction, class Steps>
constexpr auto member(WideForm form, ByteOrder order, ControlCodes controls) {
    switch (form) {
        case WideForm::ucs2:
            return member<Direction, Steps, WideForm::ucs2>(order, controls);
        case WideForm::utf16:
            return member<Direction, Steps, WideForm::utf16>(order, controls);
        case WideForm::ucs4:
            break;
    }
    return member<Direction, Steps, WideForm::ucs4>(order, controls);
}

template <template <class, WideForm, ByteOrder, ControlCodes> class Direction>
auto member(WideForm form, ByteOrder order, ControlCodes controls, UtfInstructions instructions) {
#ifdef __SSE2__
    if (instructions == UtfInstructions::sse2) {
        return member<Direction, Sse2Steps>(form, order, controls);
    }
#endif
    return member<Direction, PortableSteps>(form, order, controls);
}

}  // namespace

void setUtfErrorHook(UtfErrorHook hook) {
    errorHook.store(hook == nullptr ? returnErrorClass : hook, std::memory_order_release);
}

UtfEncoder utfEncoder(WideForm form, ByteOrder order, ControlCodes controls, UtfInstructions instructions) {
#ifdef QUORVANTI_AVX512
    if (instructions == UtfInstructions::avx512) {
        return member<Avx512Encoder, PortableSteps>(form, order, controls);
    }
#endif
    return member<Encoder>(form, order, controls, instructions);
}

UtfDecoder utfDecoder(WideForm form, ByteOrder order, ControlCodes controls, UtfInstructions instructions) {
#ifdef QUORVANTI_AVX512
    if (instructions == UtfInstructions::avx512) {
        return member<Avx512Decoder, PortableSteps>(form, order, controls);
    }
#endif
    return member<Decoder>(form, order, controls, instructions);
}

}  // namespace quorvanti

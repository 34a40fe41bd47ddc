// How one character is read from and written to each form that text can have. A reader and a writer together make a
// conversion loop.
#pragma once

#include "krn/rscp/converter_cache.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace quorvanti {

enum class Found { character, missing, broken, exhausted };
struct FoundCharacter {
    Found found;
    std::uint32_t value;
    std::uint32_t length;  // bytes to consume; of a broken sequence what is skipped with it
    const char* message = nullptr;
};

enum class Put { done, missing, full };

constexpr bool isSurrogate(std::uint32_t value) {
    return value >= 0xD800 && value <= 0xDFFF;
}

// Units lie in memory in the byte order of their form; this machine's is little-endian.
static_assert(std::endian::native == std::endian::little);
constexpr std::uint16_t swapBytes(std::uint16_t unit) {
    return static_cast<std::uint16_t>(unit << 8 | unit >> 8);
}
constexpr std::uint32_t swapBytes(std::uint32_t unit) {
    return unit << 24 | (unit & 0xFF00) << 8 | (unit >> 8 & 0xFF00) | unit >> 24;
}
template <typename Unit>
Unit loadUnit(const std::uint8_t* bytes, bool bigEndian) {
    Unit unit;
    std::memcpy(&unit, bytes, sizeof unit);
    return bigEndian ? swapBytes(unit) : unit;
}
template <typename Unit>
void storeUnit(std::uint8_t*& bytes, Unit unit, bool bigEndian) {
    const Unit stored = bigEndian ? swapBytes(unit) : unit;
    std::memcpy(bytes, &stored, sizeof stored);
    bytes += sizeof stored;
}

struct SingleByteForm {
    static constexpr bool kBytes = true;
    const SingleByteTable& table;

    bool ascii() const { return table.ascii; }
    FoundCharacter next(const std::uint8_t* source, const std::uint8_t*) const {
        const std::uint32_t value = table.characters[*source];
        return {value != kNoCharacter ? Found::character : Found::missing, value, 1};
    }
    Put put(std::uint32_t value, std::uint8_t*& destination, std::uint8_t* end) const {
        const std::int32_t byte = table.byteOf(value);
        if (byte < 0) {
            return Put::missing;
        }
        if (destination == end) {
            return Put::full;
        }
        *destination++ = static_cast<std::uint8_t>(byte);
        return Put::done;
    }
};

struct Utf8Form {
    static constexpr bool kBytes = true;

    bool ascii() const { return true; }
    static std::uint32_t sequenceLength(std::uint8_t lead) {
        if (lead < 0xC0) {
            return lead < 0x80 ? 1 : 0;
        }
        return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : lead < 0xFC ? 5 : lead < 0xFE ? 6 : 0;
    }
    FoundCharacter next(const std::uint8_t* source, const std::uint8_t* end) const {
        static constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000};
        const std::uint32_t length = sequenceLength(*source);
        if (length == 0) {
            return {Found::broken, 0, 1, "illegal start byte"};
        }
        if (length > static_cast<std::size_t>(end - source)) {
            return {Found::exhausted, 0, 0, "source exhausted within a char"};
        }
        std::uint32_t value = length == 1 ? *source : *source & (0x7FU >> length);
        for (std::uint32_t index = 1; index < length; ++index) {
            if ((source[index] & 0xC0) != 0x80) {
                return {Found::broken, 0, 1, "illegal follow-up byte"};
            }
            value = value << 6 | (source[index] & 0x3FU);
        }
        if (value < kLeast[length]) {
            return {Found::broken, 0, length, "overlong UTF-8 sequence"};
        }
        return {Found::character, value, length};
    }
    Put put(std::uint32_t value, std::uint8_t*& destination, std::uint8_t* end) const {
        if (value > 0x10FFFF || isSurrogate(value)) {
            return Put::missing;
        }
        const std::uint32_t length = value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
        if (length > static_cast<std::size_t>(end - destination)) {
            return Put::full;
        }
        static constexpr std::uint8_t kMarks[] = {0, 0, 0xC0, 0xE0, 0xF0};
        for (std::uint32_t index = length - 1; index > 0; --index, value >>= 6) {
            destination[index] = static_cast<std::uint8_t>(0x80 | (value & 0x3F));
        }
        destination[0] = static_cast<std::uint8_t>(kMarks[length] | value);
        destination += length;
        return Put::done;
    }
};

// UCS-2 takes every unit for a character, surrogates included; UTF-16 pairs them.
struct Wide16Form {
    static constexpr bool kBytes = false;
    bool bigEndian;
    bool pairs;

    FoundCharacter next(const std::uint8_t* source, const std::uint8_t* end) const {
        if (end - source < 2) {
            return {Found::exhausted, 0, 0, "source exhausted within a char"};
        }
        const std::uint32_t unit = loadUnit<std::uint16_t>(source, bigEndian);
        if (!pairs || !isSurrogate(unit)) {
            return {Found::character, unit, 2};
        }
        if (unit >= 0xDC00) {
            return {Found::broken, 0, 2, "Half low surrogate in middle"};
        }
        if (end - source < 4) {
            return {Found::exhausted, 0, 0, "Half surrogate at end"};
        }
        const std::uint32_t low = loadUnit<std::uint16_t>(source + 2, bigEndian);
        if (low < 0xDC00 || low > 0xDFFF) {
            return {Found::broken, 0, 2, "Half surrogate in middle"};
        }
        return {Found::character, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00), 4};
    }
    Put put(std::uint32_t value, std::uint8_t*& destination, std::uint8_t* end) const {
        if (pairs ? value > 0x10FFFF || isSurrogate(value) : value > 0xFFFF) {
            return Put::missing;
        }
        if (end - destination < (value > 0xFFFF ? 4 : 2)) {
            return Put::full;
        }
        if (value > 0xFFFF) {
            storeUnit(destination, static_cast<std::uint16_t>(0xD800 + ((value - 0x10000) >> 10)), bigEndian);
            value = 0xDC00 + (value & 0x3FF);
        }
        storeUnit(destination, static_cast<std::uint16_t>(value), bigEndian);
        return Put::done;
    }
};

struct Wide32Form {
    static constexpr bool kBytes = false;
    bool bigEndian;

    FoundCharacter next(const std::uint8_t* source, const std::uint8_t* end) const {
        if (end - source < 4) {
            return {Found::exhausted, 0, 0, "source exhausted within a char"};
        }
        const auto value = loadUnit<std::uint32_t>(source, bigEndian);
        if (value > 0x7FFFFFFF) {
            return {Found::broken, 0, 4, "UCS-4 has only 31 bits."};
        }
        return {Found::character, value, 4};
    }
    Put put(std::uint32_t value, std::uint8_t*& destination, std::uint8_t* end) const {
        if (isSurrogate(value)) {
            return Put::missing;
        }
        if (end - destination < 4) {
            return Put::full;
        }
        storeUnit(destination, value, bigEndian);
        return Put::done;
    }
};

}  // namespace quorvanti

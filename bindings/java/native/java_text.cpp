#include "bindings/java/native/java_text.h"

#include <cstddef>
#include <cstdint>

namespace quorvanti {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kFirstSupplementary = 0x10000;
constexpr std::uint32_t kLast = 0x10FFFF;

struct Character {
    std::uint32_t value = kReplacement;
    std::size_t length = 1;
};

struct Lead {
    std::size_t length;
    std::uint32_t smallest;  // what needs this length
    std::uint8_t mask;
    std::uint8_t mark;
};
constexpr Lead kLeads[] = {
    {1, 0, 0x80, 0x00},
    {2, 0x80, 0xE0, 0xC0},
    {3, 0x800, 0xF0, 0xE0},
    {4, kFirstSupplementary, 0xF8, 0xF0},
};

// Surrogates count as characters: so do the virtual machine's two halves of a supplementary one.
Character characterAt(std::string_view text) {
    const auto byteAt = [&](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    for (const Lead& lead : kLeads) {
        if ((byteAt(0) & lead.mask) != lead.mark) {
            continue;
        }
        if (text.size() < lead.length) {
            return {};
        }
        std::uint32_t value = byteAt(0) & static_cast<std::uint8_t>(~lead.mask);
        for (std::size_t i = 1; i < lead.length; ++i) {
            if ((byteAt(i) & 0xC0) != 0x80) {
                return {};
            }
            value = value << 6 | (byteAt(i) & 0x3FU);
        }
        const bool modifiedZero = lead.length == 2 && value == 0;
        if ((value < lead.smallest && !modifiedZero) || value > kLast) {
            return {};
        }
        return {value, lead.length};
    }
    return {};
}

char byteOf(std::uint32_t value) {
    return static_cast<char>(static_cast<std::uint8_t>(value));
}

}  // namespace

JavaCharacters javaCharacters(std::string_view utf8) {
    JavaCharacters characters;
    characters.reserve(utf8.size());
    while (!utf8.empty()) {
        const Character character = characterAt(utf8);
        utf8.remove_prefix(character.length);
        if (character.value < kFirstSupplementary) {
            characters.push_back(static_cast<jchar>(character.value));
            continue;
        }
        const std::uint32_t offset = character.value - kFirstSupplementary;
        characters.push_back(static_cast<jchar>(0xD800 + (offset >> 10)));
        characters.push_back(static_cast<jchar>(0xDC00 + (offset & 0x3FF)));
    }
    return characters;
}

std::string modifiedUtf8(std::string_view utf8) {
    std::string text;
    text.reserve(utf8.size());
    for (const jchar unit : javaCharacters(utf8)) {
        if (unit != 0 && unit < 0x80) {
            text += byteOf(unit);
        } else if (unit < 0x800) {
            text += byteOf(0xC0U | unit >> 6);
            text += byteOf(0x80U | (unit & 0x3FU));
        } else {
            text += byteOf(0xE0U | unit >> 12);
            text += byteOf(0x80U | (unit >> 6 & 0x3FU));
            text += byteOf(0x80U | (unit & 0x3FU));
        }
    }
    return text;
}

}  // namespace quorvanti

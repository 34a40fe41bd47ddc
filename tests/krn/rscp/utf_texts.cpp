#include "tests/krn/rscp/utf_texts.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/krn/rscp/utf_oracle.h"

namespace quorvanti::utf_test {
namespace {

using Characters = std::vector<std::uint32_t>;

// The first and last ones of every length, and of what the forms treat differently.
constexpr std::uint32_t kSpecial[] = {0x00,     0x1F,     0x20,     0x7E,     0x7F,      0x80,    0x81,
                                      0x9F,     0xA0,     0x7FF,    0x800,    0xFFF,     0x1000,  0xD7FF,
                                      0xD800,   0xDC00,   0xE000,   0xFFFF,   0x10000,   0xFFFFF, 0x100000,
                                      0x10FFFF, 0x110000, 0x1FFFFF, 0x200000, 0x7FFFFFFF};

void append(Bytes& bytes, const Member& member, std::uint32_t character) {
    if (member.direction == Direction::toUtf8) {
        Bytes units;
        if (member.form == WideForm::utf16 && character >= 0x10000) {
            const std::uint32_t rest = (character - 0x10000) & 0xFFFFF;
            units = wideBytes(member, {0xD800 + (rest >> 10), 0xDC00 + (rest & 0x3FF)});
        } else {
            units = wideBytes(member, {character});
        }
        bytes.insert(bytes.end(), units.begin(), units.end());
        return;
    }
    std::uint32_t followUps = 0;
    for (const std::uint32_t limit : {0x80U, 0x800U, 0x10000U, 0x200000U, 0x4000000U}) {
        followUps += character >= limit ? 1 : 0;
    }
    constexpr std::uint8_t kLead[] = {0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
    bytes.push_back(static_cast<std::uint8_t>(kLead[followUps] | character >> 6 * followUps));
    while (followUps-- > 0) {
        bytes.push_back(static_cast<std::uint8_t>(0x80 | (character >> 6 * followUps & 0x3F)));
    }
}

Bytes textOf(const Member& member, const Characters& characters) {
    Bytes bytes;
    for (const std::uint32_t character : characters) {
        append(bytes, member, character);
    }
    return bytes;
}

std::uint32_t randomCharacter(std::mt19937& random, std::uint32_t longest) {
    switch (random() % longest) {
        case 0:
            return static_cast<std::uint32_t>(0x20 + random() % 0x5F);
        case 1:
            return static_cast<std::uint32_t>(0xA0 + random() % 0x760);
        case 2:
            return static_cast<std::uint32_t>(0x800 + random() % 0xD000);
        default:
            return static_cast<std::uint32_t>(0x10000 + random() % 0x100000);
    }
}

// Without what the member would refuse.
Characters mixedText(std::mt19937& random, const Member& member, std::size_t count) {
    const auto longest = static_cast<std::uint32_t>(1 + random() % (member.form == WideForm::ucs2 ? 3 : 4));
    const bool ascii = random() % 2 == 0;
    Characters characters;
    while (characters.size() < count) {
        characters.push_back(ascii && random() % 4 != 0 ? 'a' : randomCharacter(random, longest));
    }
    return characters;
}

void compare(const Member& member, const Bytes& source, std::size_t capacity) {
    ASSERT_EQ(run(member, source, capacity), expected(member, source, capacity)) << member.name << " room " << capacity;
    if (member.direction == Direction::fromUtf8) {
        ASSERT_EQ(run(member, source, capacity, '?'), expected(member, source, capacity, '?'))
            << member.name << " room " << capacity;
    }
}

}  // namespace

void compareMixedTexts() {
    std::mt19937 random(20);
    for (int round = 0; round < 40; ++round) {
        for (const Member& member : kMembers) {
            const Bytes source = textOf(member, mixedText(random, member, random() % 60));
            const std::size_t needed = expected(member, source, kRoomy).output.size();
            for (std::size_t capacity = 0; capacity <= needed + 9; ++capacity) {
                ASSERT_NO_FATAL_FAILURE(compare(member, source, capacity));
            }
        }
    }
}

void compareEveryPlace() {
    for (const Member& member : kMembers) {
        for (const std::uint32_t special : kSpecial) {
            for (const std::uint32_t around : {0x61U, 0x4E00U}) {
                for (const std::size_t place : {0U, 1U, 2U, 3U, 4U, 7U, 8U, 12U, 13U, 14U, 15U, 16U, 17U}) {
                    Characters characters(24, around);
                    characters[place] = special;
                    ASSERT_NO_FATAL_FAILURE(compare(member, textOf(member, characters), kRoomy));
                    characters.resize(place + 1);
                    ASSERT_NO_FATAL_FAILURE(compare(member, textOf(member, characters), kRoomy));
                }
            }
        }
    }
}

void compareDamagedTexts() {
    std::mt19937 random(21);
    for (int round = 0; round < 400; ++round) {
        for (const Member& member : kMembers) {
            Bytes source = textOf(member, mixedText(random, member, 1 + random() % 60));
            source[random() % source.size()] = static_cast<std::uint8_t>(random() % 256);
            if (random() % 4 == 0) {
                source.resize(random() % source.size() + 1);
            }
            ASSERT_NO_FATAL_FAILURE(compare(member, source, kRoomy));
            ASSERT_NO_FATAL_FAILURE(compare(member, source, expected(member, source, kRoomy).output.size()));
        }
    }
}

}  // namespace quorvanti::utf_test

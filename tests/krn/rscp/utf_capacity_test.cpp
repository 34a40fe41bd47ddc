// Every size of the destination from nothing to more than needed, for texts that reach the steps of eight and sixteen
// ASCII characters in every position; whatever is not written stays as it was.
#include <gtest/gtest.h>

#include <random>

#include "tests/krn/rscp/utf_oracle.h"

namespace quorvanti::utf_test {
namespace {

Bytes encoded(std::uint32_t value) {
    const Member& encoder = member("U4_to_U8");
    return run(encoder, wideBytes(encoder, {value})).output;
}

// ASCII of that length with one character, or a stray byte, at one place.
Bytes asciiWith(std::size_t length, std::size_t place, const Bytes& inserted) {
    Bytes text(length, 'a');
    text.insert(text.begin() + static_cast<std::ptrdiff_t>(place), inserted.begin(), inserted.end());
    return text;
}

void compareAtEverySize(const Member& row, const Bytes& source) {
    const std::size_t needed = expected(row, source, kRoomy, '?').output.size();
    for (std::size_t capacity = 0; capacity <= needed + 2; ++capacity) {
        ASSERT_EQ(run(row, source, capacity), expected(row, source, capacity)) << row.name << " room " << capacity;
        if (row.direction == Direction::fromUtf8) {
            ASSERT_EQ(run(row, source, capacity, '?'), expected(row, source, capacity, '?'))
                << row.name << " room " << capacity;
        }
    }
}

TEST(UtfCapacity, DecodersAtEverySize) {
    const Bytes inserts[] = {{},     {0x09}, {0x7F}, encoded(0x80),    encoded(0x85),      encoded(0x20AC),
                             {0xC3}, {0x80}, {0xFF}, encoded(0x1F600), encoded(0x7FFFFFFF)};
    for (const Member& row : kMembers) {
        if (row.direction != Direction::fromUtf8) {
            continue;
        }
        for (const Bytes& insert : inserts) {
            for (const std::size_t place : {0U, 1U, 7U, 8U, 9U, 15U, 16U, 17U, 23U, 24U, 33U}) {
                compareAtEverySize(row, asciiWith(33, place, insert));
            }
        }
    }
}

TEST(UtfCapacity, EncodersAtEverySize) {
    const std::uint32_t inserts[] = {'b', 0x09, 0x7F, 0x80, 0xFF, 0x20AC, 0x4100, 0xD800, 0xDC00, 0x1F600, 0x80000000};
    for (const Member& row : kMembers) {
        if (row.direction != Direction::toUtf8) {
            continue;
        }
        for (const std::uint32_t insert : inserts) {
            for (std::size_t place = 0; place <= 33; ++place) {
                Bytes source;
                for (std::size_t i = 0; i <= 33; ++i) {
                    const Bytes unit = wideBytes(row, {i == place ? insert : 'a'});
                    source.insert(source.end(), unit.begin(), unit.end());
                }
                compareAtEverySize(row, source);
            }
        }
    }
}

TEST(UtfCapacity, RandomTextsOfAllKindsAtEverySize) {
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        for (const Member& row : kMembers) {
            Bytes source(random() % 40);
            const bool mostlyAscii = random() % 2 == 0;
            for (std::uint8_t& byte : source) {
                byte = static_cast<std::uint8_t>(mostlyAscii ? 0x20 + random() % 0x60 : random() % 256);
            }
            compareAtEverySize(row, source);
        }
    }
}

}  // namespace
}  // namespace quorvanti::utf_test

// Members and oracle over whole ranges: all code points and all 16-bit units in both directions, all strings of up to
// three bytes, in the long run of four. Builds that are slowed down look at every n-th value only, see kStride.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/krn/rscp/utf_oracle.h"

namespace quorvanti::utf_test {
namespace {

// Set by the build: 1 in a release build, a prime number in builds with debugging or sanitizers.
constexpr std::uint32_t kStride = QUORVANTI_UTF_STRIDE;

thread_local const char* lastMessage = "";

std::int32_t noteMessage(std::int32_t errorClass, char, std::int32_t, const char*, std::int32_t, std::int32_t,
                         const char* message, const char*, const char*, std::int32_t, std::int32_t, std::int32_t) {
    lastMessage = message;
    return errorClass;
}

// Runs member and oracle without allocating; counts only what differs and shows the first.
class Comparison {
public:
    explicit Comparison(const Member& member) : member_(member) {
        setUtfErrorHook(noteMessage);
        expected_.output.reserve(sizeof room_);
        if (member.direction == Direction::toUtf8) {
            encoder_ = utfEncoder(member.form, member.order, member.controls);
        } else {
            decoder_ = utfDecoder(member.form, member.order, member.controls);
        }
    }

    void compare(std::span<const std::uint8_t> source, std::optional<std::uint16_t> substitute = std::nullopt) {
        const std::uint32_t unit = substitute.value_or(0);
        const std::uint8_t* from = source.data();
        const std::uint8_t* const fromEnd = from + source.size();
        std::uint8_t* to = room_;
        std::uint32_t substituted = 0;
        lastMessage = "";
        const std::int32_t code = encoder_ != nullptr ? encoder_(from, fromEnd, to, room_ + sizeof room_)
                                                      : decoder_(from, fromEnd, to, room_ + sizeof room_,
                                                                 substitute ? &unit : nullptr, &substituted);
        oracle(member_, source, sizeof room_, substitute, expected_);
        const bool same = code == expected_.code && from - source.data() == std::ptrdiff_t(expected_.consumed) &&
                          substituted == expected_.substituted &&
                          std::equal(room_, to, expected_.output.begin(), expected_.output.end()) &&
                          (code == 0 || std::string_view(lastMessage) == expected_.message);
        ++compared_;
        if (!same && ++different_ == 1) {
            first_ = expected(member_, Bytes(source.begin(), source.end()), sizeof room_, substitute);
            firstSource_.assign(source.begin(), source.end());
        }
    }

    // At the end: nothing may have differed, and so much must have been compared.
    void finish(std::uint64_t atLeast) const {
        EXPECT_GE(compared_, atLeast);
        EXPECT_EQ(different_, 0U) << member_.name << " first: " << testing::PrintToString(firstSource_) << " expected "
                                  << first_;
    }

private:
    const Member& member_;
    UtfEncoder encoder_ = nullptr;
    UtfDecoder decoder_ = nullptr;
    std::uint8_t room_[64];
    OracleRun expected_;
    std::uint64_t compared_ = 0;
    std::uint64_t different_ = 0;
    Outcome first_;
    Bytes firstSource_;
};

TEST(UtfExhaustive, AllCodePointsInBothDirections) {
    const Member& toUtf8 = member("U4_to_U8");
    const Member& toUtf16 = member("U8_to_U6");
    OracleRun utf8;
    OracleRun wide;
    for (const Member& row : kMembers) {
        Comparison comparison(row);
        for (std::uint32_t value = 0; value < 0x110000; value += kStride) {
            const Bytes unit = wideBytes(toUtf8, {value});
            oracle(toUtf8, unit, kRoomy, std::nullopt, utf8);
            if (row.direction == Direction::fromUtf8) {
                comparison.compare(utf8.output);
            } else if (row.form == WideForm::ucs4 || value < 0x10000) {
                comparison.compare(wideBytes(row, {value}));
            } else {
                oracle(toUtf16, utf8.output, kRoomy, std::nullopt, wide);
                std::uint16_t pair[2];
                std::memcpy(pair, wide.output.data(), sizeof pair);
                comparison.compare(wideBytes(row, {pair[0], pair[1]}));
            }
        }
        comparison.finish(0x110000 / kStride);
    }
}

TEST(UtfExhaustive, AllStringsOfOneToThreeBytes) {
    for (const Member& row : kMembers) {
        if (row.direction != Direction::fromUtf8) {
            continue;
        }
        Comparison comparison(row);
        for (std::uint32_t length = 1; length <= 3; ++length) {
            const std::uint32_t stride = length == 3 ? kStride : 1;
            for (std::uint32_t value = 0; value < 1U << (8 * length); value += stride) {
                const std::uint8_t bytes[] = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                                              static_cast<std::uint8_t>(value >> 16)};
                comparison.compare(std::span(bytes, length), 0x3F);
                comparison.compare(std::span(bytes, length));
            }
        }
        comparison.finish(2 * 0x1000000 / kStride);
    }
}

// A string that begins otherwise is one unit and a string of three bytes. Which member takes a string depends on its
// last two bytes, so that every member meets every beginning.
void compareFourBytes(std::uint32_t firstLead, std::uint32_t leadStep) {
    std::vector<Comparison> comparisons;
    for (const Member& row : kMembers) {
        if (row.direction == Direction::fromUtf8) {
            comparisons.emplace_back(row);
        }
    }
    std::uint32_t stringsOfMine = 0;
    for (std::uint32_t lead = firstLead; lead <= 0xFD; lead += leadStep) {
        for (std::uint32_t rest = 0; rest < 0x1000000; rest += kStride) {
            const std::uint8_t bytes[] = {static_cast<std::uint8_t>(lead), static_cast<std::uint8_t>(rest >> 16),
                                          static_cast<std::uint8_t>(rest >> 8), static_cast<std::uint8_t>(rest)};
            comparisons[(rest & 0xFFFF) % comparisons.size()].compare(bytes, 0x3F);
        }
        ++stringsOfMine;
    }
    for (const Comparison& comparison : comparisons) {
        comparison.finish(stringsOfMine * (0x1000000ULL / kStride / comparisons.size() / 2));
    }
}

TEST(UtfExhaustiveLong, AllStringsOfFourBytesThatBeginWithALeadByte) {
    std::thread other(compareFourBytes, 0xC0, 2);
    compareFourBytes(0xC1, 2);
    other.join();
}

}  // namespace
}  // namespace quorvanti::utf_test

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
        for (const UtfInstructions instructions : availableInstructions()) {
            if (member.direction == Direction::toUtf8) {
                encoders_.push_back(utfEncoder(member.form, member.order, member.controls, instructions));
            } else {
                decoders_.push_back(utfDecoder(member.form, member.order, member.controls, instructions));
            }
        }
    }

    void compare(std::span<const std::uint8_t> source, std::optional<std::uint16_t> substitute = std::nullopt) {
        oracle(member_, source, sizeof room_, substitute, expected_);
        const std::uint16_t unit16 = substitute.value_or(0);
        const std::uint32_t unit32 = unit16;
        const void* const unit =
            unitSize(member_.form) == 2 ? static_cast<const void*>(&unit16) : static_cast<const void*>(&unit32);
        for (const UtfEncoder encoder : encoders_) {
            finishOne(source, substitute, [&](const std::uint8_t*& from, std::uint8_t*& to, std::uint32_t&) {
                return encoder(from, source.data() + source.size(), to, room_ + sizeof room_);
            });
        }
        for (const UtfDecoder decoder : decoders_) {
            finishOne(source, substitute, [&](const std::uint8_t*& from, std::uint8_t*& to, std::uint32_t& count) {
                return decoder(from, source.data() + source.size(), to, room_ + sizeof room_,
                               substitute ? unit : nullptr, &count);
            });
        }
        ++compared_;
    }

    // At the end: nothing may have differed, and so much must have been compared.
    void finish(std::uint64_t atLeast) const {
        EXPECT_GE(compared_, atLeast);
        EXPECT_EQ(different_, 0U) << member_.name << " first: " << testing::PrintToString(firstSource_) << " expected "
                                  << first_;
    }

private:
    template <class Call>
    void finishOne(std::span<const std::uint8_t> source, std::optional<std::uint16_t> substitute, Call call) {
        const std::uint8_t* from = source.data();
        std::uint8_t* to = room_;
        std::uint32_t substituted = 0;
        lastMessage = "";
        const std::int32_t code = call(from, to, substituted);
        const bool same = code == expected_.code && from - source.data() == std::ptrdiff_t(expected_.consumed) &&
                          substituted == expected_.substituted &&
                          std::equal(room_, to, expected_.output.begin(), expected_.output.end()) &&
                          (code == 0 || std::string_view(lastMessage) == expected_.message);
        if (!same && ++different_ == 1) {
            first_ = expected(member_, Bytes(source.begin(), source.end()), sizeof room_, substitute);
            firstSource_.assign(source.begin(), source.end());
        }
    }

    const Member& member_;
    std::vector<UtfEncoder> encoders_;  // with all available instructions
    std::vector<UtfDecoder> decoders_;
    std::uint8_t room_[128];
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

// In the midst of others: so that they are met by what takes many characters at once. Beyond the last one whose pattern
// of bits is new every seventh is looked at.
TEST(UtfExhaustive, CodePointsAmongOthers) {
    const Member& toUtf8 = member("U4_to_U8");
    const Member& toUtf16 = member("U8_to_U6");
    OracleRun text;
    OracleRun wide;
    for (const Member& row : kMembers) {
        Comparison comparison(row);
        for (std::uint32_t value = 0; value < 0x110000; value += value < 0x11000 ? kStride : 7 * kStride) {
            const Bytes units = wideBytes(toUtf8, {'a', 'b', 0xE9, value, 0x20AC, 'c', 'd', 'e', 'f', 'g', 'h'});
            oracle(toUtf8, units, kRoomy, std::nullopt, text);
            if (row.direction == Direction::fromUtf8) {
                comparison.compare(text.output);
            } else if (row.form == WideForm::ucs4) {
                comparison.compare(row.order == toUtf8.order ? units : wideBytes(row, {'a', value, 'b', 'c', 'd'}));
            } else if (value < 0x10000) {
                comparison.compare(wideBytes(row, {'a', 0xE9, value, 0x20AC, 'b', 'c', 'd', 'e', 'f'}));
            } else {
                oracle(toUtf16, text.output, kRoomy, std::nullopt, wide);
                std::uint16_t pair[2];
                std::memcpy(pair, wide.output.data() + 6, sizeof pair);
                comparison.compare(wideBytes(row, {'a', pair[0], pair[1], 'b', 0xE9, 'c', 'd', 'e'}));
            }
        }
        comparison.finish(0x110000 / 7 / kStride);
    }
}

TEST(UtfExhaustive, AllStringsOfThreeBytesAmongOthers) {
    for (const Member& row : kMembers) {
        if (row.direction != Direction::fromUtf8) {
            continue;
        }
        Comparison comparison(row);
        for (std::uint32_t value = 0x800000; value < 0x1000000; value += kStride) {
            const std::uint8_t bytes[] = {'a',
                                          0xC3,
                                          0xA9,
                                          static_cast<std::uint8_t>(value >> 16),
                                          static_cast<std::uint8_t>(value >> 8),
                                          static_cast<std::uint8_t>(value),
                                          'b',
                                          'c',
                                          'd',
                                          'e',
                                          'f',
                                          'g',
                                          'h',
                                          'i',
                                          'j',
                                          'k',
                                          'l'};
            comparison.compare(bytes);
        }
        comparison.finish(0x800000 / kStride);
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

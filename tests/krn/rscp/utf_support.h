// Runs UTF members in guarded buffers and records what they report.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "krn/rscp/utf_converters.h"

namespace quorvanti::utf_test {

using Bytes = std::vector<std::uint8_t>;

enum class Direction { fromUtf8, toUtf8 };

struct Member {
    Direction direction;
    WideForm form;
    ByteOrder order;
    ControlCodes controls;
    const char* name;  // as in "U8_to_U4sw"
    const char* module;
};

// All 24; the telling one first.
extern const std::array<Member, 24> kMembers;

// The member of that name, such as "U8_to_U4sw", with control codes allowed or refused.
const Member& member(std::string_view name, ControlCodes controls = ControlCodes::allowed);

std::size_t unitSize(WideForm form);

// Units as the form and order of the member have them in memory.
Bytes wideBytes(const Member& member, std::initializer_list<std::uint32_t> units);

struct Outcome {
    std::int32_t code = 0;
    std::string message;
    std::size_t consumed = 0;
    Bytes output;
    std::uint32_t substituted = 0;

    bool operator==(const Outcome&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

inline constexpr std::size_t kRoomy = 4096;

// What this machine can run of the instructions that members are made of, and their names.
const std::vector<UtfInstructions>& availableInstructions();
const char* nameOf(UtfInstructions instructions);

// Runs the member once on exactly these bytes into exactly that much room. Source and destination are unaligned, the
// source ends where its memory ends; a failure is added when a byte outside of what the member says it wrote changed.
Outcome run(UtfInstructions instructions, const Member& member, const Bytes& source, std::size_t capacity = kRoomy,
            std::optional<std::uint32_t> substitute = std::nullopt);

// The same with all available instructions; a failure is added when they do not all do the same.
Outcome run(const Member& member, const Bytes& source, std::size_t capacity = kRoomy,
            std::optional<std::uint32_t> substitute = std::nullopt);

// What the hook was last called with in this thread.
struct Report {
    std::int32_t errorClass;
    char kind;
    std::int32_t value;
    std::string module;
    std::int32_t site;
    std::int32_t line;
    std::string message;
    bool trailingZero;
};
const std::optional<Report>& lastReport();

}  // namespace quorvanti::utf_test

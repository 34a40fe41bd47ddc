// What the UTF members must do, written once more in the obvious way: character by character, byte by byte, without
// tables. Shares nothing with the members but their names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tests/krn/rscp/utf_support.h"

namespace quorvanti::utf_test {

struct OracleRun {
    std::int32_t code = 0;
    const char* message = "";
    std::size_t consumed = 0;
    std::uint32_t substituted = 0;
    std::vector<std::uint8_t> output;
};

// Replaces the contents of `run`.
void oracle(const Member& member, std::span<const std::uint8_t> source, std::size_t capacity,
            std::optional<std::uint32_t> substitute, OracleRun& run);

// The same as an outcome to compare with.
Outcome expected(const Member& member, const Bytes& source, std::size_t capacity,
                 std::optional<std::uint32_t> substitute = std::nullopt);

}  // namespace quorvanti::utf_test

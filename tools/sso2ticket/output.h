// How results are printed: rows for people, JSON for programs.
#pragma once

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

namespace quorvanti {

using Json = nlohmann::ordered_json;

template <typename... Values>
std::string format(const char* form, Values... values) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), form, values...);
    return text.data();
}

// "name    value\n", the value from the given column on.
std::string row(const std::string& name, const std::string& value, std::size_t column = 23);
std::string dump(const Json& json);  // texts are UTF-8 here; what is not becomes U+FFFD rather than an exception

std::string printable(const std::string& text);  // control characters as \xNN: a ticket must not drive a terminal
std::string utcText(std::int64_t seconds);       // "2026-11-20T20:15:00Z"
std::string durationText(std::int32_t seconds);  // "7 h 59 min"
std::string hexText(std::span<const std::uint8_t> bytes);    // "00FF"
std::string hexOctets(std::span<const std::uint8_t> bytes);  // "00:FF"

}  // namespace quorvanti

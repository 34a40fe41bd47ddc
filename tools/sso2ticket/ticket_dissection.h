// A ticket taken apart to be looked at. Nothing is verified; what is wrong with it is told, and what could be read is
// kept.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvanti {

enum class UnitKind { text, utf8, number, bytes };

struct DissectedUnit {
    std::uint8_t id;
    std::vector<std::uint8_t> contents;
};

struct Dissection {
    bool base64 = false;
    int version = 0;
    std::string codePage;
    std::vector<DissectedUnit> units;  // in ticket order
    std::vector<std::uint8_t> signature;
    std::string problem;  // empty: well-formed
};

Dissection dissect(std::string_view ticket);

const char* unitName(std::uint8_t id);  // "unknown" for ids that nobody has given a meaning
UnitKind unitKind(std::uint8_t id);
const char* kindName(UnitKind kind);

// The unit that evaluation takes: of several with one id the last. Null when there is none.
const DissectedUnit* effectiveUnit(const Dissection& dissection, std::uint8_t id);

std::optional<std::int32_t> numberOf(const DissectedUnit& unit);
// As UTF-8; nothing when the bytes are no text, or the code page is neither UTF-8 nor ISO 8859-1 and they are not
// ASCII.
std::optional<std::string> textOf(const DissectedUnit& unit, const std::string& codePage);
// For people and for comparing: the text, the number, or the bytes in hexadecimal digits.
std::string valueText(const DissectedUnit& unit, const std::string& codePage);

// Twelve digits in UTC as seconds since 1970.
std::optional<std::int64_t> creationTime(const Dissection& dissection);
// Seconds that the ticket may live from its creation, counted as evaluation counts: of the minutes only what is below
// an hour.
std::optional<std::int32_t> lifetime(const Dissection& dissection);

}  // namespace quorvanti

#include "tools/sso2ticket/ticket_dissection.h"

#include "tools/sso2ticket/output.h"

#include <algorithm>
#include <chrono>

namespace quorvanti {

namespace {

constexpr std::size_t unitLimit = 256;
constexpr std::size_t signatureLimit = 4096;
constexpr std::uint8_t endMark = 0xFF;

struct UnitEntry {
    std::uint8_t first;
    std::uint8_t last;
    UnitKind kind;
    const char* name;
};

using enum UnitKind;

// clang-format off
constexpr UnitEntry entries[] = {
    {0x01, 0x01, text,   "User name"},
    {0x02, 0x02, text,   "Creator client"},
    {0x03, 0x03, text,   "Creator system id"},
    {0x04, 0x04, text,   "UTC Time creation"},
    {0x05, 0x05, number, "Duration validity"},
    {0x06, 0x06, text,   "RFC ticket"},
    {0x07, 0x07, number, "Duration validity (min)"},
    {0x08, 0x08, bytes,  "Flags"},
    {0x09, 0x09, text,   "Language"},
    {0x0A, 0x0A, utf8,   "User name (UTF-8)"},
    {0x0B, 0x0B, utf8,   "Creator client (UTF-8)"},
    {0x0C, 0x0C, utf8,   "Creator system id (UTF-8)"},
    {0x0D, 0x0D, utf8,   "UTC Time creation (UTF-8)"},
    {0x0E, 0x0E, utf8,   "Language (UTF-8)"},
    {0x0F, 0x0F, utf8,   "Recipient client"},
    {0x10, 0x10, utf8,   "Recipient system id"},
    {0x20, 0x3F, utf8,   "Portal user name"},
    {0x88, 0x88, utf8,   "Authentication scheme"},
};
// clang-format on

const UnitEntry* entryOf(std::uint8_t id) {
    const auto* const found = std::find_if(std::begin(entries), std::end(entries), [id](const UnitEntry& entry) {
        return id >= entry.first && id <= entry.last;
    });
    return found != std::end(entries) ? found : nullptr;
}

std::optional<std::vector<std::uint8_t>> decodeBase64(std::string_view text) {
    static constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    if (text.size() < 4) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char character : text.substr(0, text.find('='))) {
        const std::size_t value = alphabet.find(character);
        if (value == std::string_view::npos) {
            return std::nullopt;
        }
        bits = bits << 6U | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<std::uint8_t>(bits >> static_cast<unsigned>(count)));
        }
    }
    return bytes;
}

// Reads from the front of the decoded bytes.
class Reader {
public:
    explicit Reader(const std::vector<std::uint8_t>& bytes) : bytes_(bytes) {}
    bool has(std::size_t count) const { return bytes_.size() - position_ >= count; }
    std::size_t position() const { return position_; }
    std::uint8_t byte() { return bytes_[position_++]; }
    std::size_t length() {
        const std::size_t high = byte();
        return high << 8U | byte();
    }
    std::vector<std::uint8_t> take(std::size_t count) {
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(position_);
        position_ += count;
        return {from, from + static_cast<std::ptrdiff_t>(count)};
    }

private:
    const std::vector<std::uint8_t>& bytes_;
    std::size_t position_ = 0;
};

std::string at(const std::string& what, std::size_t position) {
    return what + " at byte " + std::to_string(position);
}

std::string readSignature(Reader& reader, Dissection& result) {
    if (!reader.has(2)) {
        return at("the ticket ends before its signature", reader.position());
    }
    const std::size_t start = reader.position();
    const std::size_t length = reader.length();
    if (length == 0 || length > signatureLimit) {
        return at("the signature's length is " + std::to_string(length), start);
    }
    if (!reader.has(length)) {
        return at("the ticket ends within its signature", reader.position());
    }
    result.signature = reader.take(length);
    return {};
}

std::string readUnits(Reader& reader, Dissection& result) {
    while (reader.has(1)) {
        const std::size_t start = reader.position();
        const std::uint8_t id = reader.byte();
        if (id == endMark) {
            return result.units.empty() ? at("the ticket has no contents", start) : readSignature(reader, result);
        }
        if (!reader.has(2)) {
            return at("the ticket ends within a unit", start);
        }
        const std::size_t length = reader.length();
        if (!reader.has(length)) {
            return at("the ticket ends within a unit of " + std::to_string(length) + " bytes", start);
        }
        if (length > unitLimit) {
            return at("a unit has " + std::to_string(length) + " bytes", start);
        }
        result.units.push_back({id, reader.take(length)});
    }
    return at("the ticket ends without signature", reader.position());
}

bool isAscii(const std::vector<std::uint8_t>& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte < 0x80; });
}

// The bytes that follow a leading byte, their number, and the smallest character that needs them.
bool isUtf8(const std::vector<std::uint8_t>& bytes) {
    for (std::size_t i = 0; i < bytes.size();) {
        const unsigned lead = bytes[i++];
        const std::size_t count = lead < 0x80 ? 0U : lead >= 0xF0 ? 3U : lead >= 0xE0 ? 2U : 1U;
        if (lead >= 0xF5 || (lead >= 0x80 && lead < 0xC2) || bytes.size() - i < count) {
            return false;
        }
        unsigned character = count == 0 ? lead : lead & (0x3FU >> count);
        for (std::size_t j = 0; j < count; ++j, ++i) {
            if ((bytes[i] & 0xC0U) != 0x80) {
                return false;
            }
            character = character << 6U | (bytes[i] & 0x3FU);
        }
        static constexpr unsigned smallest[] = {0, 0x80, 0x800, 0x10000};
        if (character < smallest[count] || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000)) {
            return false;
        }
    }
    return true;
}

std::string fromLatin1(const std::vector<std::uint8_t>& bytes) {
    std::string result;
    for (const std::uint8_t byte : bytes) {
        if (byte < 0x80) {
            result += static_cast<char>(byte);
        } else {
            result += static_cast<char>(0xC0U | byte >> 6U);
            result += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return result;
}

int digits(const std::string& text, std::size_t from, std::size_t count) {
    return std::stoi(text.substr(from, count));
}

}  // namespace

Dissection dissect(std::string_view ticket) {
    Dissection result;
    const auto bytes = decodeBase64(ticket);
    if (!bytes) {
        result.problem = "the text is not base64";
        return result;
    }
    result.base64 = true;
    Reader reader(*bytes);
    if (!reader.has(5)) {
        result.problem = "the ticket ends before its code page";
        return result;
    }
    result.version = reader.byte();
    const auto page = reader.take(4);
    result.codePage.assign(page.begin(), page.end());
    result.problem = readUnits(reader, result);
    return result;
}

const char* unitName(std::uint8_t id) {
    const UnitEntry* entry = entryOf(id);
    return entry != nullptr ? entry->name : "unknown";
}

UnitKind unitKind(std::uint8_t id) {
    const UnitEntry* entry = entryOf(id);
    return entry != nullptr ? entry->kind : bytes;
}

const char* kindName(UnitKind kind) {
    switch (kind) {
        case text:
            return "text";
        case utf8:
            return "UTF-8 text";
        case number:
            return "number";
        case bytes:
            break;
    }
    return "bytes";
}

const DissectedUnit* effectiveUnit(const Dissection& dissection, std::uint8_t id) {
    const auto found = std::find_if(dissection.units.rbegin(), dissection.units.rend(),
                                    [id](const DissectedUnit& unit) { return unit.id == id; });
    return found != dissection.units.rend() ? &*found : nullptr;
}

std::optional<std::int32_t> numberOf(const DissectedUnit& unit) {
    if (unit.contents.size() != 4) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (const std::uint8_t byte : unit.contents) {
        value = value << 8U | byte;
    }
    return static_cast<std::int32_t>(value);
}

std::optional<std::string> textOf(const DissectedUnit& unit, const std::string& codePage) {
    const bool asUtf8 = unitKind(unit.id) == utf8 || codePage == "4110";
    if (isAscii(unit.contents) || (asUtf8 && isUtf8(unit.contents))) {
        return std::string(unit.contents.begin(), unit.contents.end());
    }
    return !asUtf8 && codePage == "1100" ? std::optional(fromLatin1(unit.contents)) : std::nullopt;
}

std::string valueText(const DissectedUnit& unit, const std::string& codePage) {
    switch (unitKind(unit.id)) {
        case number:
            if (const auto value = numberOf(unit)) {
                return std::to_string(*value);
            }
            break;
        case text:
        case utf8:
            if (const auto value = textOf(unit, codePage)) {
                return *value;
            }
            break;
        case bytes:
            break;
    }
    return "0x" + hexText(unit.contents);
}

std::optional<std::int64_t> creationTime(const Dissection& dissection) {
    const DissectedUnit* unit = effectiveUnit(dissection, 0x04);
    if (unit == nullptr || unit->contents.size() != 12) {
        return std::nullopt;
    }
    const std::string text(unit->contents.begin(), unit->contents.end());
    if (text.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    using namespace std::chrono;
    const year_month_day date = year(digits(text, 0, 4)) / digits(text, 4, 2) / digits(text, 6, 2);
    if (!date.ok()) {
        return std::nullopt;
    }
    return sys_seconds(sys_days(date) + hours(digits(text, 8, 2)) + minutes(digits(text, 10, 2)))
        .time_since_epoch()
        .count();
}

std::optional<std::int32_t> lifetime(const Dissection& dissection) {
    const DissectedUnit* hours = effectiveUnit(dissection, 0x05);
    const DissectedUnit* minutes = effectiveUnit(dissection, 0x07);
    if (hours == nullptr && minutes == nullptr) {
        return std::nullopt;
    }
    constexpr std::int32_t mostHours = 596523;
    constexpr std::int32_t longest = 2147482800;
    const std::int32_t h = hours != nullptr ? numberOf(*hours).value_or(0) : 0;
    const std::int32_t m = minutes != nullptr ? numberOf(*minutes).value_or(0) : 0;
    if (h > mostHours) {
        return longest;
    }
    const std::int64_t seconds = std::int64_t{h} * 3600 + std::int64_t{m % 60} * 60;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(seconds, INT32_MIN, INT32_MAX));
}

}  // namespace quorvanti

#include "tools/sso2ticket/output.h"

#include <chrono>

namespace quorvanti {

namespace {

unsigned at(const std::string& text, std::size_t position) {
    return position < text.size() ? static_cast<unsigned char>(text[position]) : 0U;
}

std::string hex(std::span<const std::uint8_t> bytes, const char* separator) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += text.empty() ? "" : separator;
        text += format("%02X", static_cast<unsigned>(byte));
    }
    return text;
}

}  // namespace

std::string row(const std::string& name, const std::string& value, std::size_t column) {
    return name + std::string(column > name.size() ? column - name.size() : 1, ' ') + printable(value) + "\n";
}

std::string dump(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string printable(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned byte = at(text, i);
        if (byte == 0xC2 && at(text, i + 1) >= 0x80 && at(text, i + 1) < 0xA0) {  // U+0080 to U+009F in UTF-8
            result += format("\\x%02X\\x%02X", byte, at(text, ++i));
        } else if (byte < 0x20 || byte == 0x7F) {
            result += format("\\x%02X", byte);
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string utcText(std::int64_t seconds) {
    using namespace std::chrono;
    const sys_seconds time{std::chrono::seconds(seconds)};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    return format("%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
}

std::string durationText(std::int32_t seconds) {
    const int minutes = seconds / 60;
    return minutes < 60 ? format("%d min", minutes) : format("%d h %d min", minutes / 60, minutes % 60);
}

std::string hexText(std::span<const std::uint8_t> bytes) {
    return hex(bytes, "");
}

std::string hexOctets(std::span<const std::uint8_t> bytes) {
    return hex(bytes, ":");
}

}  // namespace quorvanti

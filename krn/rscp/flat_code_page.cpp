#include "krn/rscp/flat_code_page.h"

#include "krn/rscp/converter_error.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace quorvanti {
namespace {

constexpr const char* kUnit = "krn/rscp/rscpr.c";
constexpr std::string_view kPlaceHolder = "++++";
constexpr std::uint32_t kUndefined = 0xFFFFFFFF;
constexpr std::size_t kLongestFile = 0x10000;
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kUnreadable = "Cannot read flat file with database table";

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::int32_t unreadable(std::int32_t code, std::int32_t site, std::int32_t line, std::string_view name,
                        std::string_view reason, std::int32_t systemError = -1) {
    std::string detail(name);
    detail.append("&").append(reason).append("&");
    return rscpeFail(code, kUnit, site, line, kUnreadable.data(), detail, systemError);
}

std::string_view withoutComment(std::string_view line) {
    line = line.substr(0, line.find('#'));
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

// Takes "0x" and the hexadecimal digits behind it from the front of the text; the digits must end at a blank or at the
// end, and there must be as many as allowed.
bool takeNumber(std::string_view& text, std::size_t fewest, std::size_t most, std::uint32_t& number) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) {
        return false;
    }
    const std::string_view digits = text.substr(2, text.find_first_of(kBlanks) - 2);
    if (digits.size() < fewest || digits.size() > most) {
        return false;
    }
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size()) {
        return false;
    }
    text.remove_prefix(2 + digits.size());
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return true;
}

bool isRepresentable(std::uint32_t character) {
    return character < kNoCharacter && (character < 0xD800 || character > 0xDFFF);
}

}  // namespace

std::int32_t parseFlatCodePage(std::string_view text, std::string_view name, CharacterMap& characters) {
    characters.fill(kNoCharacter);
    std::array<bool, 256> seen{};
    std::size_t defined = 0;
    text = text.substr(0, text.find('\x1A'));  // some published files end with the old end-of-file mark
    for (std::size_t lineNumber = 1; !text.empty(); ++lineNumber) {
        const std::size_t end = text.find('\n');
        std::string_view row = withoutComment(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (row.empty()) {
            continue;
        }
        std::uint32_t byte = 0;
        std::uint32_t character = kUndefined;
        const std::string where = "line " + std::to_string(lineNumber);
        const bool wellFormed =
            takeNumber(row, 2, 2, byte) && (row.empty() || (takeNumber(row, 4, 6, character) && row.empty()));
        if (!wellFormed) {
            return unreadable(RSCPEINVAL, 210, __LINE__, name, where);
        }
        if (seen[byte]) {
            return rscpeFail(RSCPEUNIQ, kUnit, 211, __LINE__, "Too many rows in TCPSBUILD",
                             std::string(name) + "&" + where + "&");
        }
        seen[byte] = true;
        if (character == kUndefined) {
            continue;
        }
        if (!isRepresentable(character)) {
            return rscpeFail(RSCPEINVAL, kUnit, 212, __LINE__, "character number out of range",
                             std::string(name) + "&" + where + "&");
        }
        characters[byte] = static_cast<std::uint16_t>(character);
        ++defined;
    }
    if (defined == 0) {
        return rscpeFail(RSCPEODATA, kUnit, 213, __LINE__, "F5 TCP00: cannot find any char code",
                         std::string(name) + "&");
    }
    return 0;
}

std::int32_t flatCodePageFileName(std::string_view pattern, const char codePage[4], std::string& name) {
    const std::size_t place = pattern.find(kPlaceHolder);
    if (place == std::string_view::npos) {
        return rscpeFail(RSCPEINVAL, kUnit, 220, __LINE__, "KAVPARAM(rscp/file/codepage) lacks \"++++\"",
                         std::string(pattern) + "&");
    }
    if (!codePageNumber(codePage)) {
        return rscpeFail(RSCPEINVAL, kUnit, 221, __LINE__, "code page number consists of other than four digits");
    }
    name = pattern;
    name.replace(place, kPlaceHolder.size(), codePage, 4);
    return 0;
}

std::int32_t readFlatFile(const std::string& name, std::string& text, bool& found) {
    errno = 0;
    const File file(std::fopen(name.c_str(), "rb"));
    const int reason = errno;
    std::error_code cannotLook;  // as in a working directory that the process may not enter: no file then
    found = file != nullptr || (reason != ENOENT && std::filesystem::exists(name, cannotLook));
    if (!found) {
        return 0;
    }
    if (file == nullptr) {
        return unreadable(RSCPEIO, 230, __LINE__, name, "open", reason);
    }
    text.assign(kLongestFile + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    if (std::ferror(file.get()) != 0) {
        return unreadable(RSCPEIO, 231, __LINE__, name, "read", errno);
    }
    if (text.size() > kLongestFile) {
        return unreadable(RSCPETOOLONG, 232, __LINE__, name, "longer than 65536 bytes");
    }
    return 0;
}

std::int32_t readFlatCodePage(const std::string& name, CharacterMap& characters, bool& found) {
    std::string text;
    const std::int32_t code = readFlatFile(name, text, found);
    return code != 0 || !found ? code : parseFlatCodePage(text, name, characters);
}

}  // namespace quorvanti

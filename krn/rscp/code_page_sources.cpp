#include "krn/rscp/code_page_sources.h"

#include "krn/rscp/converter_error.h"
#include "krn/rscp/converter_hooks.h"
#include "krn/rscp/flat_code_page.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace quorvanti {
namespace {

constexpr const char* kUnit = "krn/rscp/rscpr.c";
constexpr const char* kDefaultPattern = "S++++.CPA";

std::int32_t readFromFile(const char codePage[4], CharacterMap& characters, bool& found) {
    const char* pattern = converterHooks().profileParameter("rscp/file/codepage");
    std::string name;
    if (const std::int32_t code =
            flatCodePageFileName(pattern != nullptr ? pattern : kDefaultPattern, codePage, name)) {
        return code;
    }
    return readFlatCodePage(name, characters, found);
}

}  // namespace

std::int32_t readCodePage(TableSource source, const char codePage[4], CharacterMap& characters, bool& found) {
    found = false;
    switch (source) {
        case TableSource::database:
            return rscpeFail(RSCPENOOBJ, kUnit, 240, __LINE__, "cp shall be read from DB, but no DB interface compiled",
                             {codePage, 4});
        case TableSource::flatFile:
            return readFromFile(codePage, characters, found);
        case TableSource::builtIn:
            found = builtInCharacters(codePage, characters);
            return 0;
    }
    return rscpeFail(RSCPEINTERN, kUnit, 241, __LINE__, "unknown source of tables");
}

std::int32_t readCodePage(const char codePage[4], CharacterMap& characters) {
    // The database is left out: there is no interface to one.
    for (const TableSource source : {TableSource::flatFile, TableSource::builtIn}) {
        bool found = false;
        const std::int32_t code = readCodePage(source, codePage, characters, found);
        if (code != 0 || found) {
            return code;
        }
    }
    return rscpeFail(RSCPENOOBJ, kUnit, 242, __LINE__, "cp shall be read, but no source available", {codePage, 4});
}

std::int32_t readDatabaseCodePages(char (*codePages)[4], std::size_t capacity, std::size_t& count) {
    const char* name = converterHooks().profileParameter("rscp/operride/TCPDB");  // the key is misspelt in all profiles
    if (name == nullptr) {
        converterHooks().defaultCodePage(codePages[0]);
        count = 1;
        return 0;
    }
    bool found = false;
    std::string text;
    if (const std::int32_t code = readFlatFile(name, text, found)) {
        return code;
    }
    if (!found) {
        return rscpeFail(RSCPEIO, kUnit, 243, __LINE__, "Cannot read flat file with database table", name, ENOENT);
    }
    count = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = rest.find('\n');
        const std::string_view row = rest.substr(0, std::min(end, rest.find_first_of("# \t\r")));
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (row.empty()) {
            continue;
        }
        if (row.size() != 4 || !codePageNumber(row.data())) {
            return rscpeFail(RSCPEINVAL, kUnit, 244, __LINE__, "TCPDB: row is no code page", row);
        }
        if (count == capacity) {
            return rscpeFail(RSCPEINTERN, kUnit, 245, __LINE__, "TCPDB too many entries", name);
        }
        std::memcpy(codePages[count++], row.data(), 4);
    }
    return 0;
}

}  // namespace quorvanti

#include "sec/kavsecu/library_version.h"

#include "krn/dl/dl.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace quorvanti {

namespace {

struct VersionRecord {
    std::int32_t interfaceLevel;
    char reserved1[36];
    std::uint32_t size;
    char reserved2[12];
    const char* text;
};
static_assert(offsetof(VersionRecord, size) == 40 && offsetof(VersionRecord, text) == 56);

constexpr std::uint32_t kSmallestRecord = 56;
constexpr std::int32_t kNoSource = SSF_API_NOSECTK;

const void* cachedRecord = nullptr;

const VersionRecord& record() {
    return *static_cast<const VersionRecord*>(cachedRecord);
}

constexpr std::string_view kProduct = "KAVSECULIB";
constexpr std::string_view kShortPrefix = "KAVSECULIB ";

// A terminated copy with room for what shortening puts before the version; null when memory is short.
std::unique_ptr<char[]> copyText(std::string_view text) {
    std::unique_ptr<char[]> copy(new (std::nothrow) char[text.size() + 1 + kShortPrefix.size()]);
    if (copy) {
        text.copy(copy.get(), text.size());
        copy[text.size()] = '\0';
    }
    return copy;
}

// Reduces a long text of the known library to its name and version.
std::int32_t shorten(char* text, std::int32_t length) {
    constexpr std::int32_t kLongest = 30;
    constexpr std::string_view kMaker = "SECUDE";
    constexpr std::string_view kVersion = "Version ";
    const std::string_view whole(text);
    const std::size_t maker = whole.find(kMaker);
    if (length <= kLongest || maker == std::string_view::npos || whole.find(kProduct) == std::string_view::npos) {
        return length;
    }
    const std::size_t version = whole.find(kVersion, maker);
    if (version == std::string_view::npos) {
        return length;
    }
    const std::size_t number = version + kVersion.size();
    const std::size_t blank = whole.find(' ', number);
    if (blank == std::string_view::npos || blank == number) {
        return length;
    }
    std::memmove(text + kShortPrefix.size(), text + version, blank - version);
    kShortPrefix.copy(text, kShortPrefix.size());
    const std::size_t shortLength = kShortPrefix.size() + blank - version;
    text[shortLength] = '\0';
    return static_cast<std::int32_t>(shortLength);
}

// The text that the library's own function hands out.
std::int32_t askForVersion(const SsfFunctionTable& table, std::unique_ptr<char[]>& copy, std::int32_t& copyLength) {
    char* text = nullptr;
    std::int32_t length = 0;
    std::int32_t result = table.find(ssf::SsfVersion)(&text, &length);
    if (result == SSF_API_OK && text != nullptr) {
        const std::int32_t textLength = length > 0 ? length : 0;
        copy = copyText({text, static_cast<std::size_t>(textLength)});
        if (copy) {
            copyLength = shorten(copy.get(), textLength);
        } else {
            result = SSF_API_NOMEMORY;
        }
    }
    if (const auto release = table.find(ssf::SsfDELSsfOctetstring); release != nullptr && text != nullptr) {
        release(&text, &length);
    }
    return result;
}

}  // namespace

bool SsfGetVersionRecord(const SsfFunctionTable& table) {
    if (cachedRecord != nullptr) {
        return true;
    }
    DlFunction function = nullptr;
    if (table.loaded == 0 || DlLoadFunc(table.libraryHandle, "kavcr_get_version", function) != kDlOk ||
        function == nullptr) {
        return false;
    }
    const auto getVersion = reinterpret_cast<decltype(&::kavcr_get_version)>(function);
    if (getVersion(&cachedRecord) == SSF_API_OK && cachedRecord != nullptr && record().size >= kSmallestRecord &&
        record().text != nullptr) {
        return true;
    }
    cachedRecord = nullptr;
    return false;
}

std::int32_t ssfInterfaceLevel(const SsfFunctionTable& table) {
    return SsfGetVersionRecord(table) ? record().interfaceLevel : 0;
}

void ssfForgetVersionRecord() {
    cachedRecord = nullptr;
}

std::int32_t SsfGetVersionText(const SsfFunctionTable& table, char** text, std::int32_t* length) {
    if (text != nullptr) {
        *text = nullptr;
    }
    if (length != nullptr) {
        *length = 0;
    }
    if (text == nullptr || length == nullptr) {
        return SSF_API_INVALID_FUNCARGS;
    }
    if (table.loaded == 0) {
        return kNoSource;
    }
    std::int32_t result = kNoSource;
    std::unique_ptr<char[]> copy;
    if (SsfGetVersionRecord(table) && *record().text != '\0') {
        const std::string_view recorded(record().text);
        copy = copyText(recorded);
        *length = copy ? static_cast<std::int32_t>(recorded.size()) : 0;
        result = copy ? SSF_API_OK : SSF_API_NOMEMORY;
    }
    if (!copy && table.has(ssf::SsfVersion)) {
        result = askForVersion(table, copy, *length);
    }
    *text = copy.release();
    return result;
}

}  // namespace quorvanti

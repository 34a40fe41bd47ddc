#include "krn/dl/dl.h"

#include "base/dptrc/dptrace.h"
#include "base/dptrc/err.h"
#include "krn/dl/dl_platform.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "krn/dl/dlnt";
constexpr char kComponent[] = "DL (Dynamic Loader)";
constexpr std::int32_t kComponentVersion = 4;
constexpr char kNoAccess[] = "DlLoadLib()==DLENOACCESS";

constexpr std::int32_t kEntries = 64;
constexpr std::size_t kNameSize = 256;

// A library in use has a usage count above 0, unless the system refused to unload it.
struct Entry {
    bool used = false;
    std::uint32_t count = 0;
    std::uint32_t nameLength = 0;
    char name[kNameSize] = {};
    DlModule module = nullptr;
};

constinit Entry table[kEntries];

constexpr char lowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

Entry* findByName(std::string_view name) {
    for (Entry& entry : table) {
        if (entry.used && equalIgnoringCase({entry.name, entry.nameLength}, name)) {
            return &entry;
        }
    }
    return nullptr;
}

Entry* findFree() {
    Entry* const entry = std::find_if(std::begin(table), std::end(table), [](const Entry& e) { return !e.used; });
    return entry != std::end(table) ? entry : nullptr;
}

Entry* findByHandle(std::int32_t handle) {
    return handle >= 0 && handle < kEntries && table[handle].used ? &table[handle] : nullptr;
}

using Detail = std::array<char, 512>;

DlText oneLine(DlText text) {
    char* const end = std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; });
    std::fill(end, text.end(), '\0');
    return text;
}

// The detail is used as a format later, so every "%" is doubled; none is left alone where the text is cut.
Detail loadFailureDetail(const char* name, const DlSystemError& error) {
    Detail composed = {};
    std::snprintf(composed.data(), composed.size(), "%.32s(\"%.256s\")\n  Error %lu = \"%.200s\"", dlSystemNames.load,
                  name, error.number, oneLine(error.text).data());
    Detail detail = {};
    std::size_t length = 0;
    for (const char character : std::string_view(composed.data())) {
        const std::size_t width = character == '%' ? 2 : 1;
        if (length + width >= detail.size()) {
            break;
        }
        std::fill_n(detail.begin() + length, width, character);
        length += width;
    }
    return detail;
}

void reportLoadFailure(const char* name, const DlSystemError& error, DlReport report) {
    const Detail detail = loadFailureDetail(name, error);
    if (report == DlReport::everything) {
        TRACE_FILE_ERROR("%s - %s\n", kNoAccess, detail.data());
    }
    ErrSetInfo(kComponent, kComponentVersion, kTraceUnit, __LINE__, kNoAccess, kDlNoAccess, detail.data());
}

void reportSuccess(std::int32_t handle, const char* name) {
    if (!traceFileEnabled(2)) {
        return;
    }
    const Entry& entry = table[handle];
    const TraceLock lock;
    TRACE_FILE(2, "%s success: %s(\"%.256s\"), hdl %d, count %d, addr %p\n", "DlLoadLib", dlSystemNames.load, name,
               handle, static_cast<std::int32_t>(entry.count), entry.module);
    const DlText path = dlSystemPath(entry.module);
    if (path.front() != '\0') {
        TRACE_FILE(2, "    using \"%s\"\n", path.data());
    }
}

}  // namespace

std::int32_t DlLoadLib(const char* name, std::int32_t& handle, DlReport report) {
    handle = kDlNoHandle;
    if (name == nullptr || *name == '\0') {
        TRACE_FILE_ERROR("%s: %s libname supplied\n", "DlLoadLib", name == nullptr ? "no" : "empty");
        return kDlNoAccess;
    }
    const std::size_t length = std::strlen(name);
    if (length >= kNameSize) {
        TRACE_FILE_ERROR("%s: libname of %d chars is too long (max %d)\n", "DlLoadLib",
                         static_cast<std::int32_t>(length), static_cast<std::int32_t>(kNameSize));
        return kDlInvalid;
    }
    Entry* entry = findByName({name, length});
    if (entry == nullptr) {
        entry = findFree();
        if (entry == nullptr) {
            if (report == DlReport::everything) {
                TRACE_FILE_ERROR("%s: no free handle (max %d)\n", "DlLoadLib", kEntries);
            }
            return kDlNoFreeHandle;
        }
        DlSystemError error;
        const DlModule module = dlSystemLoad(name, error);
        if (module == nullptr) {
            reportLoadFailure(name, error, report);
            return kDlNoAccess;
        }
        entry->used = true;
        entry->module = module;
        entry->nameLength = static_cast<std::uint32_t>(length);
        std::memcpy(entry->name, name, length + 1);
    }
    ++entry->count;
    handle = static_cast<std::int32_t>(entry - table);
    if (report == DlReport::everything) {
        reportSuccess(handle, name);
    }
    return kDlOk;
}

std::int32_t DlLoadFunc(std::int32_t handle, const char* name, DlFunction& function) {
    function = nullptr;
    const Entry* const entry = findByHandle(handle);
    if (entry == nullptr) {
        TRACE_FILE_ERROR("%s(): invalid handle (%d)\n", "DlLoadFunc", handle);
        return kDlInvalid;
    }
    DlSystemError error;
    function = dlSystemFind(entry->module, name, error);
    if (function != nullptr) {
        TRACE_FILE(3, "%s(): successful %s(\"%.256s\") from \"%.256s\"\n", "DlLoadFunc", dlSystemNames.find, name,
                   entry->name);
        return kDlOk;
    }
    // Callers probe for functions that a library need not have, so this is no error line.
    if (traceFileEnabled(3)) {
        const TraceLock lock;
        TRACE_FILE(3, "%s(): failed %s(\"%.256s\") from \"%.256s\"\n", "DlLoadFunc", dlSystemNames.find, name,
                   entry->name);
        TRACE_FILE(3, "        with error %lu = \"%.256s\"\n", error.number, oneLine(error.text).data());
    }
    return kDlNoAccess;
}

std::int32_t DlUnloadLib(std::int32_t& handle) {
    Entry* const entry = findByHandle(handle);
    if (entry == nullptr) {
        TRACE_FILE_ERROR("%s(): invalid handle (%d)\n", "DlUnloadLib", handle);
        return kDlInvalid;
    }
    if (entry->count > 0) {
        --entry->count;
    }
    if (entry->count > 0) {
        TRACE_FILE(2, "%s(): successful (usage_count=%d) hdl %d (\"%.256s\")\n", "DlUnloadLib",
                   static_cast<std::int32_t>(entry->count), handle, entry->name);
    } else {
        DlSystemError error;
        if (!dlSystemFree(entry->module, error)) {
            TRACE_FILE_ERROR("%s() FAILED %s(\"%.256s\") -> Error %lu = \"%.256s\"\n", "DlUnloadLib",
                             dlSystemNames.free, entry->name, error.number, oneLine(error.text).data());
            return kDlUnloadFailed;
        }
        TRACE_FILE(2, "%s() successful %s(\"%.256s\") hdl %d\n", "DlUnloadLib", dlSystemNames.free, entry->name,
                   handle);
        *entry = Entry{};
    }
    handle = kDlNoHandle;
    return kDlOk;
}

}  // namespace quorvanti

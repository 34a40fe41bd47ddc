#include "sec/kavsecu/function_table.h"

#include "krn/dl/dl.h"
#include "sec/kavsecu/kavsecu_state.h"
#include "sec/kavsecu/library_version.h"
#include "sec/kavsecu/load_line.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <new>

namespace quorvanti {

namespace {

constexpr char kFipsProperty[] = "FIPS_140_2_CRYPTO_KERNEL_ACTIVE";
constexpr std::int32_t kLongestErrorText = 4095;

// Deliberately formatted for every name and written nowhere: it is there for whoever looks at a process that stopped
// while it loaded the library.
char loadLine[1024];

// The kinds that the loader resolves; a row of any other kind would have to be skipped.
static_assert(std::all_of(ssfLoadList.begin(), ssfLoadList.end(),
                          [](const SsfLoadRow& row) { return (row.kind & 0xff) <= 3 && (row.kind & ~0xff) <= 0x100; }));

// 0, or 5 when the library lacks one of the functions.
std::int32_t resolveEntryPoints(SsfFunctionTable& table) {
    std::int32_t result = kSsfSupOk;
    for (const SsfLoadRow& row : ssfLoadList) {
        SsfAnyFunction& entryPoint = table.entryPoints[row.slot];
        std::uint8_t& available = table.available[row.flag];
        entryPoint = nullptr;
        available = 0;
        if (DlLoadFunc(table.libraryHandle, row.name, entryPoint) == kDlOk) {
            available = 1;
            std::snprintf(loadLine, sizeof loadLine, "===...%.500s loaded successfully.\n", row.name);
        } else {
            std::snprintf(loadLine, sizeof loadLine, "===... could not load function %.500s from SSF library.\n",
                          row.name);
            result = kSsfSupNotAllFunctions;
        }
    }
    return result;
}

// Tells the library the wanted FIPS mode, starts it and asks for the mode in force.
std::int32_t startLibrary(SsfFunctionTable& table, std::int32_t result) {
    if (const auto setProperty = table.find(ssf::kavcr_set_property_int);
        setProperty != nullptr && result == kSsfSupOk) {
        result = setProperty(kFipsProperty, table.fipsMode);
    }
    if (const auto init = table.find(ssf::kavcr_init)) {
        // A library that starts is accepted although functions are missing, deliberately: most lack rarely used ones.
        result = init() == SSF_API_OK ? kSsfSupOk : kSsfSupNoLib;
    }
    table.fipsMode = 0;
    if (const auto getProperty = table.find(ssf::kavcr_get_property_int);
        getProperty != nullptr && result == kSsfSupOk) {
        getProperty(kFipsProperty, &table.fipsMode);
    }
    return result;
}

// The library has nothing to add to these.
bool isSelfExplanatory(std::int32_t code) {
    constexpr std::int32_t kCodes[] = {0, 1, 2, 3, 4, 6, 10, 16, 17, 18};
    return std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

// Null when the function cannot be had; a library that did not show it when it was loaded is asked once more.
decltype(&::SsfSecTKLastErrorInfo) errorInfoFunction(SsfFunctionTable& table) {
    constexpr auto& entry = ssf::SsfSecTKLastErrorInfo;
    if (table.loaded != 0 && table.has(entry) && table.has(ssf::SsfDELSsfOctetstring)) {
        return table.find(entry);
    }
    std::uint8_t& available = table.available[entry.flag];
    SsfAnyFunction& entryPoint = table.entryPoints[entry.slot];
    if (available != 0 || DlLoadFunc(table.libraryHandle, entry.name, entryPoint) != kDlOk || entryPoint == nullptr) {
        return nullptr;
    }
    available = 1;
    return table.find(entry);
}

// One of the library's two error texts, from the question to its return.
class ErrorText {
public:
    ErrorText(char** text, std::int32_t* length) : text_(text), length_(length) {
        if (text_ != nullptr) {
            *text_ = nullptr;
        }
        if (length_ != nullptr) {
            *length_ = 0;
        }
    }

    char** textAddress() { return isWanted() ? &libraryText_ : nullptr; }
    std::int32_t* lengthAddress() { return isWanted() ? &libraryLength_ : nullptr; }

    void handOut() {
        if (libraryText_ == nullptr || libraryLength_ <= 0) {
            return;
        }
        const std::int32_t length = std::min(libraryLength_, kLongestErrorText);
        *text_ = new (std::nothrow) char[static_cast<std::size_t>(length) + 3];
        if (*text_ != nullptr) {
            std::copy_n(libraryText_, length, *text_);
            (*text_)[length] = '\0';
            *length_ = length;
        }
    }
    void giveBack(const SsfFunctionTable& table) {
        if (const auto release = table.find(ssf::SsfDELSsfOctetstring); release != nullptr && libraryText_ != nullptr) {
            release(&libraryText_, &libraryLength_);
        }
    }

private:
    bool isWanted() const { return text_ != nullptr && length_ != nullptr; }

    char** text_;
    std::int32_t* length_;
    char* libraryText_ = nullptr;
    std::int32_t libraryLength_ = 0;
};

}  // namespace

const char* ssfLoadLine() {
    return loadLine;
}

std::int32_t SsfLoadFunctions(std::int32_t handle, const char* libraryName, SsfFunctionTable& table) {
    const bool ownsHandle = handle == kDlNoHandle;
    if (!ownsHandle) {
        table.libraryHandle = handle;
    } else if (DlLoadLib(libraryName, table.libraryHandle) != kDlOk) {
        return kSsfSupNoLib;
    }
    table.loaded = 1;
    const std::int32_t missing = resolveEntryPoints(table);
    if (!ownsHandle) {
        table.libraryHandle = kDlNoHandle;
    }
    const std::int32_t result = startLibrary(table, missing);
    KavSecuAttach(table.libraryHandle);
    return result;
}

void SsfUnloadFunctions(SsfFunctionTable& table) {
    // Older libraries do not survive being stopped.
    constexpr std::int32_t kLastUnstoppableLevel = 7;
    const auto done = table.find(ssf::kavcr_done);
    if (table.has(ssf::kavcr_init) && done != nullptr && ssfInterfaceLevel(table) > kLastUnstoppableLevel) {
        done();
    }
    table.entryPoints.fill(nullptr);
    table.available.fill(0);
    if (table.libraryHandle != kDlNoHandle) {
        DlUnloadLib(table.libraryHandle);
    }
    table.libraryHandle = kDlNoHandle;
    table.loaded = 0;
    ssfForgetVersionRecord();
    KavSecuDetach();
}

const char* SsfSupRcName(std::int32_t code) {
    switch (code) {
        case kSsfSupOk:
            return "SSF_SUP_OK";
        case kSsfSupAlreadyLoaded:
            return "SSF_SUP_ALREADYLOADED";
        case kSsfSupNotAllFunctions:
            return "SSF_SUP_NOTALLFUNCTIONS";
        case kSsfSupNoLib:
            return "SSF_SUP_NOLIB";
        default:
            return "<unknown SUP RC>";
    }
}

std::int32_t SsfGetLastErrorInfo(SsfFunctionTable& table, std::int32_t code, std::int32_t* hasInfo, char** text1,
                                 std::int32_t* text1Length, char** text2, std::int32_t* text2Length) {
    ErrorText first(text1, text1Length);
    ErrorText second(text2, text2Length);
    if (hasInfo != nullptr) {
        *hasInfo = 0;
    }
    if (isSelfExplanatory(code)) {
        return SSF_API_OK;
    }
    const auto lastErrorInfo = errorInfoFunction(table);
    if (lastErrorInfo == nullptr) {
        return SSF_API_NOSECTK;
    }
    std::int32_t has = 0;
    const std::int32_t result = lastErrorInfo(code, &has, first.textAddress(), first.lengthAddress(),
                                              second.textAddress(), second.lengthAddress());
    if (result == SSF_API_OK && has != 0) {
        first.handOut();
        second.handOut();
    }
    if (result == SSF_API_OK && hasInfo != nullptr) {
        *hasInfo = has;
    }
    first.giveBack(table);
    second.giveBack(table);
    return result;
}

}  // namespace quorvanti

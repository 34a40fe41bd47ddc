#include "sec/voraksso/properties.h"

#include "base/dptrc/dptrace.h"
#include "krn/env/environment.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/state.h"
#include "sec/voraksso/text.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";
constexpr std::size_t kEnvironmentTextSize = 4096;

// The public getter reads the fields without the lock that their writers hold: byte-wise atomic, so that a reader may
// see a mixed text but never undefined behaviour.
char loadByte(char& byte) {
    return std::atomic_ref<char>(byte).load(std::memory_order_relaxed);
}

bool holds(char* field, std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (loadByte(field[i]) != text[i]) {
            return false;
        }
    }
    return loadByte(field[text.size()]) == '\0';
}

bool isEmpty(const char* value) {
    return value == nullptr || *value == '\0';
}

struct Property {
    const char* name;
    char* field;              // where it is stored, if it is a text of the library state
    std::size_t width;        // of the field, terminator included
    const char* standard;     // value while nobody sets one
    const char* environment;  // variable that takes precedence while the standard value is stored
    void (*set)(const Property&, const char*);
    const char* (*get)(const Property&);
};

void storeField(const Property& property, const char* value) {
    const std::string_view text = isEmpty(value) ? property.standard : value;
    for (std::size_t i = 0; i < property.width; ++i) {
        const char byte = i < text.size() && i + 1 < property.width ? text[i] : '\0';
        std::atomic_ref<char>(property.field[i]).store(byte, std::memory_order_relaxed);
    }
}

const char* readField(const Property& property) {
    if (holds(property.field, property.standard)) {
        if (const char* value = environmentValue(property.environment)) {
            return value;
        }
    }
    return property.field;
}

// Looks at the own client, not at the code page, and so never takes the environment's value with a client of three
// characters: deliberate, callers rely on the stored value.
const char* readCodePage(const Property& property) {
    LibraryState& state = libraryState();
    if (loadByte(state.ownClient[0]) == '1' && loadByte(state.ownClient[1]) == '1' &&
        loadByte(state.ownClient[2]) == '0' && loadByte(state.ownClient[3]) == '0') {
        if (const char* value = environmentValue(property.environment)) {
            return value;
        }
    }
    return property.field;
}

void setTraceTarget(const Property&, const char* value) {
    traceSetTarget(isEmpty(value) ? nullptr : value);
}

const char* readTraceTarget(const Property& property) {
    {
        const TraceLock lock;
        if (traceState().fileName[0] != '\0') {
            return traceState().fileName;
        }
    }
    return environmentValue(property.environment);
}

void setTraceLevel(const Property&, const char* value) {
    traceSetLevel(value);
}

const char* readTraceLevel(const Property& property) {
    static constexpr std::array<const char*, 4> texts{"0", "1", "2", "3"};
    long level = traceState().requestedLevel.load(std::memory_order_relaxed);
    if (level == -1) {
        const char* value = environmentValue(property.environment);
        level = value != nullptr ? std::strtol(value, nullptr, 10) : 1;
    }
    return level >= 0 && level <= 3 ? texts[static_cast<std::size_t>(level)] : texts[1];
}

void setCryptoLibrary(const Property& property, const char* value) {
    if (value == nullptr) {
        return;
    }
    const std::size_t room = kEnvironmentTextSize - std::strlen(property.name) - 2;  // "=" and the terminator
    setEnvironmentValue(property.name, std::string(value, strnlen(value, room)).c_str());
}

const char* readEnvironment(const Property& property) {
    return environmentValue(property.environment);
}

void setIncludeCertificate(const Property& property, const char* value) {
    const std::string_view text = value == nullptr ? "" : value;
    const bool on = text == "1" || equalsIgnoringCase(text, "true") || equalsIgnoringCase(text, "yes");
    std::atomic_ref<char>(property.field[0]).store(on ? '1' : '0', std::memory_order_relaxed);
}

const char* readStored(const Property& property) {
    return property.field;
}

// In the order of the list that the getter answers for no name.
std::array<Property, 10>& propertyTable() {
    LibraryState& s = libraryState();
    // clang-format off
    static std::array<Property, 10> table{{
        {"KAV_EXT_TRC",      nullptr,              0,                        nullptr, "KAV_EXT_TRC",      setTraceTarget,        readTraceTarget},
        {"KAV_EXT_TRL",      nullptr,              0,                        nullptr, "KAV_EXT_TRL",      setTraceLevel,         readTraceLevel},
        {"KAV_EXT_SYSID",    s.extSysId,           sizeof s.extSysId,        "EXT",   "KAVSYSTEMNAME",    storeField,            readField},
        {"KAV_EXT_CLIENT",   s.extClient,          sizeof s.extClient,       "999",   "KAVSYSTEMCLIENT",  storeField,            readField},
        {"KAV_OWN_SYSID",    s.ownSysId,           sizeof s.ownSysId,        "SYS",   "KAVSYSTEMNAME",    storeField,            readField},
        {"KAV_OWN_CLIENT",   s.ownClient,          sizeof s.ownClient,       "000",   "KAVSYSTEMCLIENT",  storeField,            readField},
        {"KAV_EXT_CODEPAGE", s.ticketCodePage,     sizeof s.ticketCodePage,  "1100",  "KAV_EXT_CODEPAGE", storeField,            readCodePage},
        {"SSF_LIB",          nullptr,              0,                        nullptr, "SSF_LIB",          setCryptoLibrary,      readEnvironment},
        {"SSF_HASH",         s.hashAlgorithm,      sizeof s.hashAlgorithm,   "SHA1",  "SSF_HASH",         storeField,            readField},
        {"SSF_INCLUDE_CERT", s.includeCertificate, 1,                        "0",     nullptr,            setIncludeCertificate, readStored},
    }};
    // clang-format on
    return table;
}

const Property* findProperty(const char* name) {
    for (const Property& property : propertyTable()) {
        if (std::strcmp(property.name, name) == 0) {
            return &property;
        }
    }
    return nullptr;
}

const char* propertyNames() {
    static const std::string names = [] {
        std::string list;
        for (const Property& property : propertyTable()) {
            list += (list.empty() ? "" : ";");
            list += property.name;
        }
        return list;
    }();
    return names.c_str();
}

std::int32_t setProperty(const char* name, const char* value) {
    if (ensureFrame() != kThrOk) {
        return VORAK_INVALID;
    }
    if (name == nullptr) {
        TRACE_ERROR("QuorvantiSetProperty: Null for property name is invalid\n");
        return VORAK_INVALID;
    }
    TRACE(3, "QuorvantiSetProperty(%s,%s)\n", name, isEmpty(value) ? "null" : value);
    const ThrCSGuard lock(libraryState().propertyLock);
    const Property* property = findProperty(name);
    if (property == nullptr) {
        TRACE_ERROR("QuorvantiSetProperty: Unknown property %s \n", name);
        return VORAK_INVALID;
    }
    property->set(*property, value);
    return VORAK_OK;
}

const char* getProperty(const char* name) {
    if (name == nullptr) {
        return propertyNames();
    }
    TRACE(3, "QuorvantiGetProperty(%s)\n", name);
    const Property* property = findProperty(name);
    if (property == nullptr) {
        TRACE_ERROR("QuorvantiGetProperty: Unknown property %s \n", name);
        return nullptr;
    }
    return property->get(*property);
}

}  // namespace

std::string propertyCopy(const char* name) {
    const ThrCSGuard lock(libraryState().propertyLock);
    const Property* property = findProperty(name);
    const char* value = property != nullptr ? property->get(*property) : nullptr;
    return value != nullptr ? value : "";
}

std::array<char, 4> codePageProperty() {
    const ThrCSGuard lock(libraryState().propertyLock);
    static const Property& property = *findProperty("KAV_EXT_CODEPAGE");
    std::array<char, 4> codePage{};
    const char* value = property.get(property);
    std::copy_n(value, strnlen(value, codePage.size()), codePage.begin());
    return codePage;
}

std::optional<std::string> propertyText(const char* name) {
    const ThrCSGuard lock(libraryState().propertyLock);
    const char* value = getProperty(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

bool includeCertificateProperty() {
    return loadByte(libraryState().includeCertificate[0]) == '1';
}

}  // namespace quorvanti

extern "C" {

QUORVANTI_API int32_t QuorvantiSetProperty(const char* name, const char* value) {
    using namespace quorvanti;
    return guarded([&] {
        const std::int32_t code = setProperty(name, value);
        if (code == VORAK_OK) {
            TRACE(3, "Leave QuorvantiSetProperty\n");
        }
        return code;
    });
}

QUORVANTI_API const char* QuorvantiGetProperty(const char* name) {
    const char* value = nullptr;
    quorvanti::guarded([&] {
        value = quorvanti::getProperty(name);
        return VORAK_OK;
    });
    return value;
}

}  // extern "C"

#include "krn/rscp/converter_activation.h"

#include "krn/rscp/conversion_methods.h"
#include "krn/rscp/converter_cache.h"
#include "krn/rscp/converter_error.h"
#include "krn/rscp/converter_init.h"
#include "krn/rscp/converter_options.h"
#include "krn/rscp/converter_state.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace quorvanti {
namespace {

constexpr const char* kUnit = "krn/rscp/rscpa.c";
constexpr const char* kNotSet = "0000";
using Direction = ConverterCache::Direction;

bool hasTable(NlsKind kind) {
    return kind == NlsKind::NLS_not;
}

// A code page that is not described can only be a single-byte one, from a file.
CodePageDescription describe(const char codePage[4]) {
    if (const CodePageDescription* description = findCodePageDescription(codePage)) {
        return *description;
    }
    CodePageDescription unknown{"0000", NlsKind::NLS_not, false, "    ", ""};
    std::memcpy(unknown.number, codePage, 4);
    return unknown;
}

// The code page comes from outside and may hold anything.
void printable(const char codePage[4], char (&text)[5]) {
    for (std::size_t index = 0; index < 4; ++index) {
        text[index] = codePage[index] > ' ' && codePage[index] <= '~' ? codePage[index] : '?';
    }
    text[4] = '\0';
}

std::int32_t unknownCodePage(const char codePage[4], Direction direction) {
    char number[5];
    printable(codePage, number);
    char message[48];
    std::snprintf(message, sizeof message, "%s character code %s is unknown",
                  direction == Direction::input ? "in" : "out", number);
    return rscpePropagate(RSCPENOOBJ, kUnit, 101, __LINE__, message);
}

std::int32_t checkNumber(const char codePage[4], Direction direction) {
    if (codePageNumber(codePage) && !sameCodePage(codePage, kNotSet)) {
        return 0;
    }
    rscpeReset();  // nothing before this belongs to it
    return unknownCodePage(codePage, direction);
}

// Under the cache lock.
std::int32_t findOrLoad(const char codePage[4], Direction direction, const void*& table) {
    ConverterCache& cache = converterCache();
    table = cache.find(codePage);
    if (table != nullptr) {
        return 0;
    }
    if (const std::int32_t code = cache.load(codePage, direction)) {
        return code == RSCPENOOBJ ? unknownCodePage(codePage, direction) : code;
    }
    table = cache.find(codePage);
    return 0;
}

bool findLoaded(rscpCObj_t& object, bool input, bool output) {
    ConverterCache& cache = converterCache();
    object.inputTable = input ? cache.find(object.loadedSource) : nullptr;
    object.outputTable = output ? cache.find(object.loadedTarget) : nullptr;
    const bool found = (!input || object.inputTable != nullptr) && (!output || object.outputTable != nullptr);
    object.cacheGeneration = found ? cache.generation() : 0;
    return found;
}

std::int32_t loadMissing(rscpCObj_t& object, bool input, bool output) {
    const CacheLock lock("lookup_convert_tables", __LINE__);
    for (int attempt = 0; attempt < 2; ++attempt) {  // the second table may have thrown out the first
        const void* table = nullptr;
        if (const std::int32_t code = input ? findOrLoad(object.loadedSource, Direction::input, table) : 0) {
            return code;
        }
        if (const std::int32_t code = output ? findOrLoad(object.loadedTarget, Direction::output, table) : 0) {
            return code;
        }
        if (findLoaded(object, input, output)) {
            return 0;
        }
    }
    return rscpeFail(RSCPEINTERN, kUnit, 103, __LINE__, "CCC has no room for both code pages");
}

void clearPrepared(rscpCObj_t& object) {
    object.inputTable = nullptr;
    object.outputTable = nullptr;
    object.cacheGeneration = 0;
}

void clearActivation(rscpCObj_t& object) {
    object.method = static_cast<std::int32_t>(Method::deactivated);
    object.activated = 0;
    object.optionWord = 0;
    object.substituted = 0;
    object.removed = 0;
    object.inputKind = 0;
    object.outputKind = 0;
    object.language = '\0';
    std::memset(object.ownCodePage, 0, sizeof object.ownCodePage);
}

bool shortcutsWanted(const rscpCObj_t& object) {
    // Filling needs to know the characters that are written.
    if (object.fillPolicy >= kFillNulls && object.fillPolicy <= kFillAndTruncateSpaces) {
        return false;
    }
    const char* parameter = converterHooks().profileParameter("rscp/shortcut_many_converters");
    return parameter == nullptr || (std::string_view(parameter) != "0" && std::string_view(parameter) != "off");
}

void traceActivation(const rscpCObj_t& object, Method method) {
    if (!converterTraced()) {
        return;
    }
    const char* name = methodName(object.method);
    if (isTracedShortcut(method)) {
        converterTrace("rscpc: %4.4s->%4.4s: KAVCCM_%s\n", object.loadedSource, object.loadedTarget, name);
    }
    converterTrace(
        "rscpc: %4.4s->%4.4s: %s rscpbroken %s rscpfill %s useF1 %s drop %s rscpCtrlCodeCv %s rscpKAVOwnChCv %s "
        "s(%06X)",
        object.loadedSource, object.loadedTarget, name, rscpbrokenName(object.brokenPolicy),
        rscpfillName(object.fillPolicy), useF1Name(object.useF1), dropName(object.dropPolicy),
        rscpCtrlCodeCvName(object.controlCodeConversion), rscpKAVOwnChCvName(object.ownCharacterConversion),
        object.optionWord);
}

// The method for the object's pair, and its tables.
std::int32_t lookup_convert_tables(rscpCObj_t& object) {
    if (const std::int32_t code = checkNumber(object.sourceCodePage, Direction::input)) {
        return code;
    }
    if (const std::int32_t code = checkNumber(object.targetCodePage, Direction::output)) {
        return code;
    }
    const CodePageDescription source = describe(object.sourceCodePage);
    const CodePageDescription target = describe(object.targetCodePage);
    const Method method = chooseMethod(source, target, shortcutsWanted(object));
    if (method == Method::unknownMeth) {
        return unsupportedPair(source, target);
    }
    std::memcpy(object.loadedSource, object.sourceCodePage, 4);
    std::memcpy(object.loadedTarget, object.targetCodePage, 4);
    object.inputKind = static_cast<std::uint8_t>(source.kind);
    object.outputKind = static_cast<std::uint8_t>(target.kind);
    object.method = static_cast<std::int32_t>(method);
    object.optionWord = rscpOptionWord(object);
    converterHooks().currentLanguage(&object.language);
    converterHooks().currentCodePage(object.ownCodePage);
    if (method != Method::direct) {
        if (const std::int32_t code = prepareTables(object)) {
            return code;
        }
    }
    object.activated = 1;
    traceActivation(object, method);
    return 0;
}

}  // namespace

constinit const rscpCObj_t rscpCObjTemplate = [] {
    rscpCObj_t object{};
    for (auto* codePage :
         {&object.sourceCodePage, &object.targetCodePage, &object.loadedSource, &object.loadedTarget}) {
        std::fill_n(*codePage, 4, '0');
    }
    object.substitution = '#';
    object.useF1 = 1;
    return object;
}();

void rscpCStandardSettings(rscpCObj_t& object, const char source[4], const char target[4]) {
    std::memcpy(object.sourceCodePage, source, 4);
    std::memcpy(object.targetCodePage, target, 4);
    object.optionFlags[0] = 1;
    object.optionFlags[1] = 0;
    object.optionFlags[2] = 0;
    object.brokenPolicy = kBrokenLikeMiss;
    object.fillPolicy = kFillNever;
    object.uninterpreted = 0;
    object.useF1 = 1;
    object.dropPolicy = kDropLikeMiss;
    object.controlCodeConversion = 0;
    object.ownCharacterConversion = 1;
}

std::int32_t unsupportedPair(const CodePageDescription& source, const CodePageDescription& target) {
    char message[101];
    const char* from = nlsKindName(static_cast<std::int32_t>(source.kind));
    const char* to = nlsKindName(static_cast<std::int32_t>(target.kind));
    if (source.iso2022 || target.iso2022) {
        std::snprintf(message, sizeof message, "'%*.*s'->'%*.*s': %s->%s cannot combine %s with ISO-2022", 4, 4,
                      source.number, 4, 4, target.number, from, to, source.iso2022 ? to : from);
    } else {
        std::snprintf(message, sizeof message, "code page '%*.*s'->'%*.*s' unsupported pair %s->%s", 4, 4,
                      source.number, 4, 4, target.number, from, to);
    }
    return rscpeFail(RSCPENOCONV, kUnit, 102, __LINE__, message);
}

std::int32_t prepareTables(rscpCObj_t& object) {
    const bool input = hasTable(static_cast<NlsKind>(object.inputKind));
    const bool output = hasTable(static_cast<NlsKind>(object.outputKind));
    {
        const ConverterCache::ReadAccess access(converterCache());
        if (findLoaded(object, input, output)) {
            return 0;
        }
    }
    return loadMissing(object, input, output);
}

void refreshObject(rscpCObj_t& object) {
    char language = '\0';
    char codePage[4] = {};
    converterHooks().currentLanguage(&language);
    converterHooks().currentCodePage(codePage);
    if (language != object.language || !sameCodePage(codePage, object.ownCodePage)) {
        clearPrepared(object);
        object.language = language;
        std::memcpy(object.ownCodePage, codePage, 4);
    }
}

std::int32_t rscpCActivate(rscpCObj_t* object, bool reset, bool) {
    if (object == nullptr) {
        return rscpeFail(RSCPEINVAL, kUnit, 104, __LINE__, "missing converter object address");
    }
    if (rscpState() == RscpState::fresh) {
        if (const std::int32_t code = rscpi_init_just_in_case("rscpCActivate")) {
            return code;
        }
    }
    if (!conversionAllowed()) {
        return rscpeFail(RSCPENOCONV, kUnit, 105, __LINE__, "CCC not proper initialized");
    }
    if (reset) {
        clearActivation(*object);
    }
    clearPrepared(*object);
    object->activated = 0;
    std::memcpy(object->loadedSource, kNotSet, 4);
    std::memcpy(object->loadedTarget, kNotSet, 4);
    const std::int32_t code = lookup_convert_tables(*object);
    if (code != 0) {
        object->method = static_cast<std::int32_t>(Method::deactivated);
        clearPrepared(*object);
    }
    return code;
}

}  // namespace quorvanti

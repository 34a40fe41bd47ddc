#include "krn/rscp/converter_init.h"

#include "krn/env/environment.h"
#include "krn/rscp/converter_error.h"
#include "krn/rscp/converter_state.h"
#include "krn/rscp/utf_converters.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

namespace quorvanti {
namespace {

constexpr const char* kUnit = "krn/rscp/rscpi.c";
constexpr const char* kTrapName = "RSCP_CATCH_INIT";

ConverterSettings settingsOfProcess;

// Initialization by two threads at once is serialized; a second one inside the first is the init loop.
std::recursive_mutex initMutex;

// The lines about progress, left out when the environment asked for silence.
bool silent = false;
template <typename... Values>
void progress(const char* format, Values... values) {
    silent ? converterTrace(format, values...) : converterLog(format, values...);
}

const char* profile(const char* name) {
    return converterHooks().profileParameter(name);
}

long profileNumber(const char* name, long unset) {
    const char* text = profile(name);
    return text != nullptr ? std::strtol(text, nullptr, 10) : unset;
}

std::uint16_t profileCodeUnit(const char* name) {
    const char* text = profile(name);
    return text != nullptr ? static_cast<std::uint16_t>(std::strtoul(text, nullptr, 16)) : std::uint16_t{0};
}

std::int32_t tooSmall(std::int32_t site, std::int32_t line, const std::string& parameter, long value, long smallest) {
    const std::string message = "KAVPARAM(rsts/ccc/" + parameter + ") too small";
    const std::string detail = parameter + "&" + std::to_string(value) + "&" + std::to_string(smallest) + "&";
    return rscpeFail(RSCPEINTERN, kUnit, site, line, message.c_str(), detail);
}

void readPrivateUseArea(ConverterSettings& settings) {
    settings.iconIntroducer = profileCodeUnit("rscp/pua/icon2intro");
    settings.printControlIntroducer = profileCodeUnit("rscp/pua/printcontrol5intro");
    settings.frameIntroducer = profileCodeUnit("rscp/pua/frame1intro");
    if (const std::uint16_t unit = profileCodeUnit("rscp/pua/DBC_replacement")) {
        const auto bytes = reinterpret_cast<const std::uint8_t*>(&unit);
        const std::uint8_t* source = bytes;
        auto* destination = reinterpret_cast<std::uint8_t*>(settings.replacementUtf8);
        const auto encode = utfEncoder(WideForm::utf16, ByteOrder::native, ControlCodes::allowed);
        if (encode(source, bytes + sizeof unit, destination, destination + sizeof settings.replacementUtf8 - 1) == 0) {
            *destination = '\0';
        }
    }
}

void readErrorPolicy() {
    const char* policy = profile("rscp/on_error");
    if (policy == nullptr) {
        policy = environmentValue("RSCP_ON_ERROR");
    }
    setRscpOption(kOptionOnError, policy != nullptr ? std::atoi(policy) : 0);
}

std::int32_t initializeSemaphores() {
    using Step = std::int32_t (*)();
    const Step steps[] = {converterHooks().semaphoreStep1, converterHooks().semaphoreStep2};
    for (int number = 1; number <= 2; ++number) {
        if (const std::int32_t code = steps[number - 1]()) {
            char message[64];
            std::snprintf(message, sizeof message, "Semaphore initialization step %d failed with %d", number, code);
            converterLog("%s", message);
            return rscpeFail(RSCPEINTERN, kUnit, 401, __LINE__, message);
        }
        progress("Semaphore initialization step %d done.", number);
    }
    return 0;
}

// Sizes, memory, content. An I/O error leaves state 5, any other failure state 3.
std::int32_t buildCache() {
    ConverterCache& cache = converterCache();
    if (const std::int32_t code = find_cachesizes(settingsOfProcess)) {
        return code;
    }
    const CacheLock lock("rscpi__init", __LINE__);
    if (!cache.exists()) {
        if (const std::int32_t code = cache.allocate(settingsOfProcess.sizes)) {
            return code;
        }
    }
    const std::int32_t code = cache.fill();
    if (code != 0) {
        converterLog("CCC-cache init failed.");
        return rscpePropagate(code, kUnit, 402, __LINE__, "CCC-cache init failed.");
    }
    return 0;
}

void announceInitialized(bool again) {
    CacheHeader& header = converterCache().header();
    {
        const CacheLock lock("rscpi__init", __LINE__);
        header.version = CacheVersion::initialized;
        header.reorganizationDone = true;
        ++header.attaches;
    }
    setUtfErrorHook(rscpe__error);
    progress("CCC cache initialized with %s bytes.", std::to_string(header.length).c_str());
    progress("CCC in initialized state.");
    setRscpState(RscpState::initialized);
    if (again) {
        converterLog("Code page converter switched back to initialized state. CCC.reorg_done=%c.", 'T');
    }
}

std::int32_t initialize() {
    rscpeReset();
    const RscpState before = rscpState();
    switch (before) {
        case RscpState::initialized:
            return 0;
        case RscpState::initStarted:
            return rscpeFail(RSCPEINTERN, kUnit, 403, __LINE__, "char code converter init loop");
        case RscpState::failed:
            return rscpeFail(RSCPEINTERN, kUnit, 404, __LINE__, "char code converter damaged");
        case RscpState::reinitialize:
            converterLog("Try CCC initialization in state: %d . (CCC not in reach.)", static_cast<int>(before));
            break;
        case RscpState::fresh:
        case RscpState::filled:
            setRscpState(RscpState::initStarted);
            break;
    }
    const bool again = before == RscpState::reinitialize;
    readPrivateUseArea(settingsOfProcess);
    readErrorPolicy();
    std::int32_t code = again ? 0 : initializeSemaphores();
    setRscpOption(kOptionProtect, static_cast<std::int32_t>(profileNumber("rscp/ccc/protect", 0)));
    if (code == 0) {
        code = buildCache();
    }
    if (code != 0) {
        if (code != RSCPEIO) {
            setRscpState(RscpState::failed);
        }
        return code;
    }
    setRscpState(RscpState::filled);
    announceInitialized(again);
    return 0;
}

std::int32_t rscpi__init() {
    converterHooks().traceEnter("rscpi__init");
    const std::int32_t code = initialize();
    converterHooks().traceLeave("rscpi__init");
    return code;
}

[[noreturn]] void abortInTrap() {
    std::fputs("See KAV note 7700103.\nAbort in rscpi_init_just_in_case.\n", stderr);
    std::abort();
}

// One-shot: the file is gone before the process ends.
void abortOnTrapFile() {
    std::error_code error;
    if (std::filesystem::exists(kTrapName, error)) {
        std::filesystem::remove(kTrapName, error);
        abortInTrap();
    }
}

}  // namespace

const ConverterSettings& converterSettings() {
    return settingsOfProcess;
}

std::int32_t find_cachesizes(ConverterSettings& settings) {
    long cache = profileNumber("rsts/ccc/cachesize", kDefaultCacheSize);
    if (cache < kSmallestCacheSize) {
        return tooSmall(410, __LINE__, "cachesize", cache, kSmallestCacheSize);
    }
    if (cache > kLargestCacheSize) {
        converterLog("KAVPARAM(rsts/ccc/cachesize) too large");
        cache = kLargestCacheSize;
    }
    const long t7 = profileNumber("rsts/ccc/cache07", cache / 10);
    if (t7 < kSmallestT7Size) {
        return tooSmall(411, __LINE__, "cache07", t7, kSmallestT7Size);
    }
    settings.sizes.cache = static_cast<std::uint32_t>(cache);
    // What does not fit into the cache is refused when the cache is allocated.
    settings.sizes.t7 = static_cast<std::uint32_t>((std::min(t7, cache) + 15) / 16 * 16);
    settings.highestInternalCode =
        std::max(profileNumber("rscp/ccc/max_intern_code", kHighestInternalCode), kHighestInternalCode);
    settings.highestUnicode = profileNumber("rscp/ccc/max_intern_uchar", kHighestUnicode);
    if (profile("rsts/ccc/max_kavcode") != nullptr) {
        converterLog("KAVPARAM(rsts/ccc/max_kavcode) ignored");
    }
    return 0;
}

std::int32_t rscpi_init_just_in_case(const char* caller) {
    if (rscpState() == RscpState::initialized) {
        return 0;
    }
    const std::scoped_lock lock(initMutex);
    if (rscpState() == RscpState::initialized) {
        return 0;  // another thread was faster
    }
    if (rscpState() == RscpState::reinitialize) {
        return rscpi__init();  // rscpr__reconnect
    }
    const char* trap = environmentValue(kTrapName);
    const char mode = trap != nullptr ? trap[0] : '\0';
    silent = mode == '0';
    if (!silent) {
        converterLog("Impromptu CCC initialization by '%.100s'.", caller);
        converterLog("  See KAV note 7700103.");
    }
    if (mode == 'a' || mode == 'A') {
        abortInTrap();
    }
    abortOnTrapFile();
    rscpeSetInitializer(caller);
    return rscpi__init();
}

std::int32_t rscpCInit() {
    return rscpi_init_just_in_case("rscpCInit");
}

}  // namespace quorvanti

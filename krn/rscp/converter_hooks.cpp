#include "krn/rscp/converter_hooks.h"

#include "krn/thr/thr.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

namespace quorvanti {
namespace {

// Every query of the surroundings answers that it changed nothing.
constexpr std::int32_t kUnchanged = 128;

ThrCS& cacheSection() {
    static ThrCS section;
    return section;
}

const char* noProfileParameter(const char*) {
    return nullptr;
}

std::int32_t latin1(char codePage[4]) {
    std::copy_n("1100", 4, codePage);
    return kUnchanged;
}

std::int32_t english(char* language) {
    *language = 'E';
    return kUnchanged;
}

std::int32_t noCodePage(char codePage[4]) {
    std::copy_n("0000", 4, codePage);
    return kUnchanged;
}

void ignoreFunction(const char*) {}

void writeToStandardError(const char* text, int length) {
    std::fprintf(stderr, "%*.*s\n", length, length, text);
}

std::int32_t nothingToInitialize() {
    return 0;
}

std::int32_t createCacheSection() {
    ThrCSCreate(cacheSection());
    cacheSection().tag = "CCC";
    return 0;
}

bool lockCacheSection() {
    return ThrCSLock(cacheSection());
}

void unlockCacheSection() {
    ThrCSUnlock(cacheSection());
}

CacheMemory allocateProcessLocal(std::size_t bytes) {
    return CacheMemory(static_cast<std::byte*>(std::calloc(bytes, 1)));
}

const ConverterHooks* currentHooks = &defaultConverterHooks;

using LineHook = void (*)(const char* text, int length);

void formatLine(LineHook hook, const char* format, std::va_list arguments) {
    std::array<char, 256> line{};
    const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
    hook(line.data(), length < static_cast<int>(line.size()) ? length : static_cast<int>(line.size()) - 1);
}

}  // namespace

const ConverterHooks defaultConverterHooks = {
    .profileParameter = noProfileParameter,
    .defaultCodePage = latin1,
    .currentLanguage = english,
    .currentCodePage = noCodePage,
    .traceEnter = ignoreFunction,
    .traceLeave = ignoreFunction,
    .logLine = writeToStandardError,
    .traceLine = nullptr,
    .semaphoreStep1 = nothingToInitialize,
    .semaphoreStep2 = createCacheSection,
    .lockCache = lockCacheSection,
    .unlockCache = unlockCacheSection,
    .allocateCache = allocateProcessLocal,
};

const ConverterHooks& converterHooks() {
    return *currentHooks;
}

void setConverterHooks(const ConverterHooks* hooks) {
    currentHooks = hooks != nullptr ? hooks : &defaultConverterHooks;
}

void converterLog(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    formatLine(converterHooks().logLine, format, arguments);
    va_end(arguments);
}

void converterTrace(const char* format, ...) {
    if (!converterTraced()) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    formatLine(converterHooks().traceLine, format, arguments);
    va_end(arguments);
}

CacheLock::CacheLock(const char* by, int line) : locked_(converterHooks().lockCache()) {
    converterTrace("ThrMtx'CCC' by %.40s at %d", by, line);
}

CacheLock::~CacheLock() {
    if (locked_) {
        converterHooks().unlockCache();
    }
}

}  // namespace quorvanti

// Surroundings for the converter that a test can see through and set: profile parameters, captured log and trace.
#pragma once

#include "krn/rscp/converter.h"
#include "krn/rscp/converter_error.h"
#include "krn/rscp/converter_hooks.h"
#include "krn/thr/thr.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace quorvanti::test {

struct ConverterSurroundings {
    std::map<std::string, std::string> profile;
    std::vector<std::string> log;
    std::vector<std::string> trace;
    std::int32_t semaphore[2] = {0, 0};
    bool memory = true;
    char language = 'E';
    ConverterHooks hooks = defaultConverterHooks;
};

inline ConverterSurroundings& surroundings() {
    static ConverterSurroundings one;
    return one;
}

class ConverterTest : public testing::Test {
protected:
    ConverterTest() {
        ThrInitialize();
        ConverterHooks& hooks = surroundings().hooks;
        hooks.profileParameter = [](const char* name) -> const char* {
            const auto entry = surroundings().profile.find(name);
            return entry != surroundings().profile.end() ? entry->second.c_str() : nullptr;
        };
        hooks.logLine = [](const char* text, int length) { append(surroundings().log, text, length); };
        hooks.traceLine = [](const char* text, int length) { append(surroundings().trace, text, length); };
        hooks.semaphoreStep1 = [] { return surroundings().semaphore[0]; };
        hooks.semaphoreStep2 = [] {
            const std::int32_t code = surroundings().semaphore[1];
            return code != 0 ? code : defaultConverterHooks.semaphoreStep2();
        };
        hooks.allocateCache = [](std::size_t bytes) {
            return surroundings().memory ? defaultConverterHooks.allocateCache(bytes) : nullptr;
        };
        hooks.currentLanguage = [](char* language) {
            *language = surroundings().language;
            return 128;
        };
        setConverterHooks(&hooks);
    }
    ~ConverterTest() override { setConverterHooks(nullptr); }

    static void setProfile(const std::string& name, const std::string& value) { surroundings().profile[name] = value; }
    static std::vector<std::string>& log() { return surroundings().log; }
    static std::vector<std::string>& trace() { return surroundings().trace; }
    static std::string message() { return rscpeCurrent() != nullptr ? rscpeCurrent()->message : ""; }
    static std::string detail() { return rscpeCurrent() != nullptr ? rscpeCurrent()->detail : ""; }

private:
    static void append(std::vector<std::string>& lines, const char* text, int length) {
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        lines.emplace_back(text, static_cast<std::size_t>(length));
    }
};

inline std::vector<std::string> linesOf(void (*report)(RscpLineWriter, void*)) {
    std::vector<std::string> lines;
    report([](void* context, const char* line) { static_cast<std::vector<std::string>*>(context)->emplace_back(line); },
           &lines);
    return lines;
}

inline std::vector<std::string> qualityFindings(std::int32_t expected) {
    std::vector<std::string> lines;
    const std::int32_t code = rscpqc_quality_check(
        [](void* context, const char* line) { static_cast<std::vector<std::string>*>(context)->emplace_back(line); },
        &lines);
    EXPECT_EQ(code, expected);
    return lines;
}

inline rscpCObj_t makeObject(const char* source, const char* target) {
    rscpCObj_t object = rscpCObjTemplate;
    rscpCStandardSettings(object, source, target);
    return object;
}

inline rscpCObj_t activated(const char* source, const char* target) {
    rscpCObj_t object = makeObject(source, target);
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_EQ(rscpCActivate(&object, true, true), 0) << source << "->" << target;
    return object;
}

struct Converted {
    std::int32_t code;
    std::string output;
    std::size_t consumed;
};

// Converts into a buffer of `room` bytes between canaries.
inline Converted convert(rscpCObj_t& object, std::string_view input, std::size_t room = 4096) {
    constexpr char kCanary = '\x5A';
    std::string buffer(room + 32, kCanary);
    auto* const start = reinterpret_cast<std::uint8_t*>(buffer.data()) + 16;
    std::uint8_t* destination = start;
    const std::string copy(input);  // sanitizers see the exact end
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(copy.data());
    const std::uint8_t* source = begin;
    const std::int32_t code = rscpCConvert(&object, destination, start + room, source, begin + copy.size());
    EXPECT_GE(destination, start);
    EXPECT_LE(destination, start + room);
    EXPECT_EQ(buffer.substr(0, 16), std::string(16, kCanary));
    EXPECT_EQ(buffer.substr(16 + room), std::string(16, kCanary));
    return {code, std::string(reinterpret_cast<const char*>(start), static_cast<std::size_t>(destination - start)),
            static_cast<std::size_t>(source - begin)};
}

// Activates and converts.
inline Converted convert(const char* source, const char* target, std::string_view input, std::size_t room = 4096) {
    rscpCObj_t object = activated(source, target);
    return convert(object, input, room);
}

}  // namespace quorvanti::test

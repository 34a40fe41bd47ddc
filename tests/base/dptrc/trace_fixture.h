// A trace at a fixed time, in UTC, so that its text can be compared as a whole.
#pragma once

#include "base/dptrc/dptrace.h"
#include "krn/thr/thr.h"
#include "krn/time/clock.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/time_zone.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace quorvanti::test {

class TraceFixture : public testing::Test {
protected:
    TraceFixture() {
        now = 1793952489000;
        setClockSource([] { return now; });
    }
    ~TraceFixture() override {
        traceSetTarget(nullptr);
        setClockSource(nullptr);
    }

    // Opens the file "trace" and gives back what stands in it behind the header.
    void open(const char* level) {
        traceSetLevel(level);
        traceSetTarget(name().c_str());
        headerSize_ = all().size();
    }
    std::string name() const { return directory_.file("trace"); }
    std::string all() const { return readText(name()); }
    std::string written() const { return all().substr(headerSize_); }
    static std::FILE* stream() { return traceState().stream.load(); }

    // The text with the calling thread's tag in place of each "@".
    static std::string tagged(std::string text) {
        const std::string tag = "[Thr " + std::to_string(ThrCurrentId()) + "] ";
        for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at + tag.size())) {
            text.replace(at, 1, tag);
        }
        return text;
    }

    inline static std::int64_t now = 0;
    TemporaryDirectory directory_;

private:
    TimeZone zone_{"UTC"};
    std::size_t headerSize_ = 0;
};

// The stamp of the fixture's first second, at another level than 1.
inline constexpr char kStamp[] = "@Fri Nov  6 08:08:09 2026\n";

}  // namespace quorvanti::test

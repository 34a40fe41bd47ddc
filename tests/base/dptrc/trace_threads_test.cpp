// Many threads trace while others change target and level.
#include "base/dptrc/dptrace.h"
#include "tests/support/descriptor.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

class TraceThreads : public testing::Test {
protected:
    ~TraceThreads() override { traceSetTarget(nullptr); }

    template <typename Work>
    void inThreads(int count, Work work) {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < count; ++thread) {
            threads.emplace_back(work, thread);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    test::TemporaryDirectory directory_;
};

int countLines(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST_F(TraceThreads, TheFirstUsesAtOnceShareOneLock) {
    const std::string name = directory_.file("trace");
    int guarded = 0;
    inThreads(32, [&](int) {
        const TraceLock lock;
        ++guarded;
    });
    EXPECT_EQ(guarded, 32);
}

TEST_F(TraceThreads, ErrorLinesKeepTheirPositionsAndLinesStayWhole) {
    const std::string name = directory_.file("trace");
    traceSetLevel("3");
    traceSetTarget(name.c_str());
    inThreads(8, [](int thread) {
        for (int round = 0; round < 200; ++round) {
            TRACE_ERROR_AT(1000 + thread, "thread %d\n", thread);
            TRACE(3, "first of %d\nsecond of %d\n", thread, thread);
        }
    });
    traceSetTarget(nullptr);
    const std::regex error(R"(\[Thr [0-9]+\] \*\*\* ERROR => thread ([0-9]) \[ssoxxext     100([0-9])\])");
    const std::regex first(R"((\[Thr [0-9]+\] )first of ([0-9]))");
    std::istringstream lines(test::readText(name));
    int errors = 0;
    int pairs = 0;
    std::string line;
    std::string next;
    for (std::smatch match; std::getline(lines, line);) {
        if (std::regex_match(line, match, error)) {
            EXPECT_EQ(match[1], match[2]) << line;
            ++errors;
        } else if (std::regex_match(line, match, first)) {
            ASSERT_TRUE(std::getline(lines, next));
            EXPECT_EQ(next, match[1].str() + "second of " + match[2].str());
            ++pairs;
        }
    }
    EXPECT_EQ(errors, 1600);
    EXPECT_EQ(pairs, 1600);
}

TEST_F(TraceThreads, NoLineIsLostWhileOneFileReplacesAnother) {
    constexpr int kWriters = 6;
    constexpr int kLines = 500;
    traceSetLevel("2");
    int file = 0;
    const auto nextFile = [&] { traceSetTarget(directory_.file("trace" + std::to_string(file++)).c_str()); };
    nextFile();
    std::atomic<int> writing{kWriters};
    std::thread switcher([&] {
        while (writing > 0) {
            nextFile();
            std::this_thread::yield();
        }
    });
    inThreads(kWriters, [&](int) {
        for (int line = 0; line < kLines; ++line) {
            TRACE(2, "kept\n");
        }
        --writing;
    });
    switcher.join();
    traceSetTarget(nullptr);
    int kept = 0;
    for (int index = 0; index < file; ++index) {
        kept += countLines(test::readText(directory_.file("trace" + std::to_string(index))), "] kept\n");
    }
    EXPECT_EQ(kept, kWriters * kLines);
}

TEST_F(TraceThreads, TargetAndLevelMayBeSwitchedAtAnyTime) {
    const std::string one = directory_.file("one");
    const std::string two = directory_.file("two");
    const std::string full = test::fullDevice().empty() ? directory_.file("three") : test::fullDevice();
    std::atomic<int> writing{6};
    std::thread targets([&] {
        for (int round = 0; writing > 0; ++round) {
            const char* const choices[] = {one.c_str(), two.c_str(), nullptr, full.c_str()};
            traceSetTarget(choices[round % 4]);
            std::this_thread::yield();
        }
    });
    std::thread levels([&] {
        for (int round = 0; writing > 0; ++round) {
            const char* const choices[] = {"0", "1", "2", "3", nullptr};
            traceSetLevel(choices[round % 5]);
            std::this_thread::yield();
        }
    });
    inThreads(6, [&](int thread) {
        for (int round = 0; round < 300; ++round) {
            TRACE(0, "banner %d\n", thread);
            TRACE(2, "line\nof two\n");
            TRACE_ERROR("error\n");
            TRACE_WARNING("warning\n");
            DpTrcHexDump("0123456789abcdef", 16);
        }
        --writing;
    });
    targets.join();
    levels.join();
    traceSetLevel("1");
    traceSetTarget(nullptr);
    traceSetTarget(one.c_str());
    TRACE(1, "at last\n");
    EXPECT_EQ(countLines(test::readText(one), "] at last\n"), 1);
}

}  // namespace
}  // namespace quorvanti

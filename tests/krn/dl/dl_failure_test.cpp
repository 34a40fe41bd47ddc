// What the loader refuses, and what it says.
#include "base/dptrc/dptrace.h"
#include "krn/dl/dl.h"

#include "tests/krn/dl/dl_fixture.h"
#include "tests/support/stream_capture.h"

#include <algorithm>
#include <array>

namespace quorvanti {
namespace {

using test::TraceCapture;

constexpr char kSample[] = DL_SAMPLE;
constexpr char kHolderBase[] = DL_HOLDER_BASE;
constexpr char kHolder[] = DL_HOLDER;

class DlFailure : public test::DlFixture {};

TEST_F(DlFailure, NoNameAndAnEmptyOneAreRefused) {
    const TraceCapture trace(1);
    std::int32_t handle = 5;
    EXPECT_EQ(DlLoadLib(nullptr, handle), -2);
    EXPECT_EQ(handle, -1);
    handle = 5;
    EXPECT_EQ(DlLoadLib("", handle), -2);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(trace.lines(), Lines({"*** ERROR => DlLoadLib: no libname supplied [dlnt]",
                                    "*** ERROR => DlLoadLib: empty libname supplied [dlnt]"}));
    EXPECT_EQ(errPackedRecord(), "");
}

TEST_F(DlFailure, ANameOf256CharactersIsTooLong) {
    const TraceCapture trace(1);
    std::int32_t handle = 5;
    EXPECT_EQ(DlLoadLib(std::string(256, 'n').c_str(), handle), -3);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(trace.lines(), Lines({"*** ERROR => DlLoadLib: libname of 256 chars is too long (max 256) [dlnt]"}));
}

TEST_F(DlFailure, ANameOf255CharactersIsTried) {
    const TraceCapture trace(1);
    std::int32_t handle = 5;
    const std::string name(255, 'n');
    EXPECT_EQ(DlLoadLib(name.c_str(), handle), -2);
    EXPECT_EQ(handle, -1);
    EXPECT_TRUE(trace.contains("*** ERROR => DlLoadLib()==DLENOACCESS - " + load_ + "(\"" + name + "\")\n"));
}

TEST_F(DlFailure, AFailedLoadIsTracedAndRecorded) {
    const TraceCapture trace(1);
    std::int32_t handle = 5;
    EXPECT_EQ(DlLoadLib("libnosuchthing.so", handle), -2);
    EXPECT_EQ(handle, -1);
    const std::string detail = load_ + "(\"libnosuchthing.so\")\n  " + test::loadErrorOf("libnosuchthing.so");
    EXPECT_EQ(trace.text()
                  .substr(trace.text().find("*** ERROR"))
                  .find("*** ERROR => DlLoadLib()==DLENOACCESS - " + detail + " [dlnt         "),
              0u)
        << trace.text();
    EXPECT_EQ(recorded(2), "DlLoadLib()==DLENOACCESS");
    EXPECT_EQ(recorded(3), "-2");
    EXPECT_EQ(recorded(4), "DL (Dynamic Loader)");
    EXPECT_EQ(recorded(6), "4");
    EXPECT_EQ(recorded(7), "krn/dl/dlnt");
    EXPECT_NE(recorded(8), "");
    EXPECT_EQ(recorded(9), detail);
}

TEST_F(DlFailure, APercentSignOfTheSystemsTextIsDoubledInWhatIsTracedAndOneInTheRecord) {
    const TraceCapture trace(1);
    std::int32_t handle = 5;
    EXPECT_EQ(DlLoadLib("lib%snosuch%n.so", handle), -2);
    const std::string text = test::loadErrorOf("lib%snosuch%n.so");
    EXPECT_TRUE(trace.contains(load_ + "(\"lib%%snosuch%%n.so\")\n  " + doubled(text))) << trace.text();
    EXPECT_EQ(recorded(9), load_ + "(\"lib%snosuch%n.so\")\n  " + text);
}

TEST_F(DlFailure, DoublingStopsAtFiveHundredAndElevenCharactersAndBreaksNoPair) {
    const TraceCapture trace(1);
    std::int32_t handle = 5;
    for (const std::string& name : {std::string(250, '%'), "x" + std::string(249, '%')}) {
        EXPECT_EQ(DlLoadLib(name.c_str(), handle), -2);
    }
    const std::string begin = "DLENOACCESS - " + load_ + "(\"";
    std::string text = trace.text();
    for (int load = 0; load < 2; ++load) {
        text = text.substr(text.find(begin) + sizeof "DLENOACCESS - " - 1);
        const std::string detail = text.substr(0, text.find(" [dlnt  "));
        EXPECT_LE(detail.size(), 511u);
        EXPECT_GE(detail.size(), 510u);
        EXPECT_EQ(std::count(detail.begin(), detail.end(), '%') % 2, 0);
    }
}

TEST_F(DlFailure, TheSixtyFifthLibraryHasNoHandle) {
    std::array<std::int32_t, 64> handles;
    for (std::size_t index = 0; index < handles.size(); ++index) {
        ASSERT_EQ(DlLoadLib(copyOf(kSample, "sample" + std::to_string(index) + ".so").c_str(), handles[index]), 0);
        EXPECT_EQ(handles[index], static_cast<std::int32_t>(index));
    }
    const TraceCapture trace(1);
    std::int32_t handle = 5;
    const std::string name = copyOf(kSample, "sample64.so");
    EXPECT_EQ(DlLoadLib(name.c_str(), handle), -4);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(trace.lines(), Lines({"*** ERROR => DlLoadLib: no free handle (max 64) [dlnt]"}));
    EXPECT_EQ(DlLoadLib(directory_.file("sample7.so").c_str(), handle), 0) << "a known library needs no entry";
    EXPECT_EQ(handle, 7);
    EXPECT_EQ(DlUnloadLib(handle), 0);
    EXPECT_EQ(DlUnloadLib(handles[20]), 0);
    EXPECT_EQ(DlLoadLib(name.c_str(), handle), 0);
    EXPECT_EQ(handle, 20);
    EXPECT_EQ(DlUnloadLib(handle), 0);
    for (std::int32_t& used : handles) {
        if (used != -1) {
            EXPECT_EQ(DlUnloadLib(used), 0);
        }
    }
}

TEST_F(DlFailure, AProbeSaysNothingWhateverComesOfIt) {
    const TraceCapture trace(3);
    std::int32_t handle = 5;
    EXPECT_EQ(DlLoadLib("libnosuchthing.so", handle, DlReport::nothing), -2);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(recorded(2), "DlLoadLib()==DLENOACCESS") << "but it is recorded";
    std::array<std::int32_t, 64> handles;
    for (std::size_t index = 0; index < handles.size(); ++index) {
        const std::string name = copyOf(kSample, "sample" + std::to_string(index) + ".so");
        ASSERT_EQ(DlLoadLib(name.c_str(), handles[index], DlReport::nothing), 0);
    }
    EXPECT_EQ(DlLoadLib(copyOf(kSample, "sample64.so").c_str(), handle, DlReport::nothing), -4);
    EXPECT_EQ(trace.lines(), Lines());
    for (std::int32_t& used : handles) {
        EXPECT_EQ(DlUnloadLib(used), 0);
    }
}

TEST_F(DlFailure, AMissingFunctionIsNothingBelowLevelThree) {
    std::int32_t handle = -1;
    ASSERT_EQ(DlLoadLib(kSample, handle), 0);
    DlFunction function = [] {};
    const TraceCapture trace(2);
    EXPECT_EQ(DlLoadFunc(handle, "noSuchFunction", function), -2);
    EXPECT_EQ(function, nullptr);
    EXPECT_EQ(trace.lines(), Lines());
    EXPECT_EQ(DlUnloadLib(handle), 0);
}

TEST_F(DlFailure, AMissingFunctionIsTracedAtLevelThree) {
    std::int32_t handle = -1;
    ASSERT_EQ(DlLoadLib(kSample, handle), 0);
    std::string error = test::findErrorOf(kSample, "noSuchFunction");
    error.front() = 'e';
    DlFunction function = nullptr;
    const TraceCapture trace(3);
    EXPECT_EQ(DlLoadFunc(handle, "noSuchFunction", function), -2);
    EXPECT_EQ(trace.lines(),
              Lines({"DlLoadFunc(): failed " + find_ + "(\"noSuchFunction\") from \"" + std::string(kSample) + "\"",
                     "        with " + error}));
    EXPECT_EQ(DlUnloadLib(handle), 0);
}

TEST_F(DlFailure, InvalidHandlesAreRefused) {
    const TraceCapture trace(1);
    Lines expected;
    for (const std::int32_t invalid : {-1, 64, 0, 63, -2147483647 - 1, 2147483647}) {
        DlFunction function = [] {};
        EXPECT_EQ(DlLoadFunc(invalid, "dlSampleAnswer", function), -3);
        EXPECT_EQ(function, nullptr);
        std::int32_t handle = invalid;
        EXPECT_EQ(DlUnloadLib(handle), -3);
        EXPECT_EQ(handle, invalid);
        const std::string number = std::to_string(invalid);
        expected.push_back("*** ERROR => DlLoadFunc(): invalid handle (" + number + ") [dlnt]");
        expected.push_back("*** ERROR => DlUnloadLib(): invalid handle (" + number + ") [dlnt]");
    }
    EXPECT_EQ(trace.lines(), expected);
}

TEST_F(DlFailure, AnUnloadThatTheSystemRefusesKeepsTheEntry) {
    std::int32_t handle = -1;
    ASSERT_EQ(DlLoadLib(kHolderBase, handle), 0);
    const std::int32_t before = handle;
    const test::RefusedUnload refused(kHolderBase, kHolder);
    const TraceCapture trace(1);
    EXPECT_EQ(DlUnloadLib(handle), -5);
    EXPECT_EQ(handle, before);
    EXPECT_EQ(trace.lines(), Lines({"*** ERROR => DlUnloadLib() FAILED " + free_ + "(\"" + kHolderBase + "\") -> " +
                                    refused.error() + " [dlnt]"}));
    DlFunction function = nullptr;
    EXPECT_NE(DlLoadFunc(handle, "dlSampleAnswer", function), -3) << "the entry stays in use";
}

TEST_F(DlFailure, WithoutATraceFileTheLinesGoToTheStandardError) {
    const test::StreamCapture capture(stderr);
    traceSetLevel("1");
    std::int32_t handle = -1;
    EXPECT_EQ(DlUnloadLib(handle), -3);
    EXPECT_NE(capture.text().find("*** ERROR => DlUnloadLib(): invalid handle (-1) [dlnt         "), std::string::npos);
}

TEST_F(DlFailure, NothingIsSaidAtLevelZero) {
    const test::StreamCapture capture(stderr);
    std::int32_t handle = -1;
    EXPECT_EQ(DlLoadLib("libnosuchthing.so", handle), -2);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(recorded(2), "DlLoadLib()==DLENOACCESS") << "but it is recorded";
}

}  // namespace
}  // namespace quorvanti

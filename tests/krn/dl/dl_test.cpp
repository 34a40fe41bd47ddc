// Loading, resolving and unloading what is there.
#include "krn/dl/dl.h"

#include "tests/krn/dl/dl_fixture.h"

#include "tests/support/shared_library.h"

namespace quorvanti {
namespace {

using test::TraceCapture;

constexpr char kSample[] = DL_SAMPLE;

std::string quoted(const std::string& text) {
    return "(\"" + text + "\")";
}

class Dl : public test::DlFixture {};

TEST_F(Dl, ALibraryIsLoadedResolvedAndUnloaded) {
    std::int32_t handle = 99;
    ASSERT_EQ(DlLoadLib(kSample, handle), 0);
    EXPECT_EQ(handle, 0);
    DlFunction function = nullptr;
    ASSERT_EQ(DlLoadFunc(handle, "dlSampleAnswer", function), 0);
    EXPECT_EQ(reinterpret_cast<int (*)()>(function)(), 42);
    EXPECT_TRUE(test::isSharedLibraryLoaded(kSample));
    ASSERT_EQ(DlUnloadLib(handle), 0);
    EXPECT_EQ(handle, -1);
    EXPECT_FALSE(test::isSharedLibraryLoaded(kSample));
}

TEST_F(Dl, ItsStepsAreTracedAtLevelThree) {
    const TraceCapture trace(3);
    std::int32_t handle = -1;
    DlFunction function = nullptr;
    ASSERT_EQ(DlLoadLib(kSample, handle), 0);
    ASSERT_EQ(DlLoadFunc(handle, "dlSampleAnswer", function), 0);
    ASSERT_EQ(DlUnloadLib(handle), 0);
    const std::string sample = kSample;
    EXPECT_EQ(lines(trace), Lines({"DlLoadLib success: " + load_ + quoted(sample) + ", hdl 0, count 1, addr",
                                   "    using \"" + test::systemNameOf(sample) + "\"",
                                   "DlLoadFunc(): successful " + find_ + "(\"dlSampleAnswer\") from \"" + sample + "\"",
                                   "DlUnloadLib() successful " + free_ + quoted(sample) + " hdl 0"}));
}

TEST_F(Dl, TheFileInUseIsTheSystemsAnswer) {
    const TraceCapture trace(2);
    std::int32_t handle = -1;
    ASSERT_EQ(DlLoadLib(test::systemLibrary, handle), 0);
    const Lines traced = lines(trace);
    ASSERT_EQ(traced.size(), 2u);
    EXPECT_EQ(traced[0], "DlLoadLib success: " + load_ + quoted(test::systemLibrary) + ", hdl 0, count 1, addr");
    const std::string begin = "    using \"";
    ASSERT_TRUE(traced[1].starts_with(begin)) << traced[1];
    EXPECT_TRUE(std::filesystem::path(traced[1].substr(begin.size())).is_absolute()) << traced[1];
    EXPECT_TRUE(traced[1].ends_with(std::string(test::systemLibrary) + "\"")) << traced[1];
    EXPECT_EQ(DlUnloadLib(handle), 0);
}

TEST_F(Dl, ANameThatDiffersInCaseIsTheSameLibrary) {
    const std::string lower = copyOf(kSample, "sample.so");
    const std::string upper = directory_.file("SAMPLE.so");
    const TraceCapture trace(2);
    std::int32_t first = -1;
    std::int32_t second = -1;
    ASSERT_EQ(DlLoadLib(lower.c_str(), first), 0);
    ASSERT_EQ(DlLoadLib(upper.c_str(), second), 0);
    EXPECT_EQ(second, first);

    ASSERT_EQ(DlUnloadLib(second), 0);
    EXPECT_EQ(second, -1);
    EXPECT_TRUE(test::isSharedLibraryLoaded(lower.c_str()));
    ASSERT_EQ(DlUnloadLib(first), 0);
    EXPECT_FALSE(test::isSharedLibraryLoaded(lower.c_str()));
    EXPECT_EQ(lines(trace), Lines({"DlLoadLib success: " + load_ + quoted(lower) + ", hdl 0, count 1, addr",
                                   "    using \"" + test::systemNameOf(lower) + "\"",
                                   "DlLoadLib success: " + load_ + quoted(upper) + ", hdl 0, count 2, addr",
                                   "    using \"" + test::systemNameOf(lower) + "\"",
                                   "DlUnloadLib(): successful (usage_count=1) hdl 0 " + quoted(lower),
                                   "DlUnloadLib() successful " + free_ + quoted(lower) + " hdl 0"}));
}

TEST_F(Dl, AnEntryGivenBackIsUsedAgain) {
    const std::string a = copyOf(kSample, "a.so");
    const std::string b = copyOf(kSample, "b.so");
    const std::string c = copyOf(kSample, "c.so");
    std::int32_t first = -1;
    std::int32_t second = -1;
    std::int32_t third = -1;
    ASSERT_EQ(DlLoadLib(a.c_str(), first), 0);
    ASSERT_EQ(DlLoadLib(b.c_str(), second), 0);
    EXPECT_EQ(second, 1);
    const std::int32_t given = first;
    ASSERT_EQ(DlUnloadLib(first), 0);
    ASSERT_EQ(DlLoadLib(c.c_str(), third), 0);
    EXPECT_EQ(third, given);
    EXPECT_EQ(DlUnloadLib(second), 0);
    EXPECT_EQ(DlUnloadLib(third), 0);
}

TEST_F(Dl, SymbolsStayLocal) {
    std::int32_t handle = -1;
    ASSERT_EQ(DlLoadLib(kSample, handle), 0);
    const std::optional<bool> seen = test::seenByAll("dlSampleAnswer");
    EXPECT_EQ(DlUnloadLib(handle), 0);
    if (!seen) {
        GTEST_SKIP() << "symbols belong to their library on this system, they cannot be made visible to all";
    }
    EXPECT_FALSE(*seen);
}

}  // namespace
}  // namespace quorvanti

// Loading, resolving and unloading what is there.
#include "krn/dl/dl.h"

#include "tests/krn/dl/dl_fixture.h"

#include <dlfcn.h>

namespace quorvanti {
namespace {

using test::TraceCapture;

constexpr char kSample[] = DL_SAMPLE;

std::string quoted(const std::string& text) {
    return "(\"" + text + "\")";
}

bool isLoaded(const char* name) {
    void* module = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
    if (module != nullptr) {
        dlclose(module);
    }
    return module != nullptr;
}

class Dl : public test::DlFixture {};

TEST_F(Dl, ALibraryIsLoadedResolvedAndUnloaded) {
    std::int32_t handle = 99;
    ASSERT_EQ(DlLoadLib(kSample, handle), 0);
    EXPECT_EQ(handle, 0);
    DlFunction function = nullptr;
    ASSERT_EQ(DlLoadFunc(handle, "dlSampleAnswer", function), 0);
    EXPECT_EQ(reinterpret_cast<int (*)()>(function)(), 42);
    EXPECT_TRUE(isLoaded(kSample));
    ASSERT_EQ(DlUnloadLib(handle), 0);
    EXPECT_EQ(handle, -1);
    EXPECT_FALSE(isLoaded(kSample));
}

TEST_F(Dl, ItsStepsAreTracedAtLevelThree) {
    const TraceCapture trace(3);
    std::int32_t handle = -1;
    DlFunction function = nullptr;
    ASSERT_EQ(DlLoadLib(kSample, handle), 0);
    ASSERT_EQ(DlLoadFunc(handle, "dlSampleAnswer", function), 0);
    ASSERT_EQ(DlUnloadLib(handle), 0);
    const std::string sample = kSample;
    EXPECT_EQ(lines(trace), Lines({"DlLoadLib success: dlopen" + quoted(sample) + ", hdl 0, count 1, addr",
                                   "    using \"" + sample + "\"",
                                   "DlLoadFunc(): successful dlsym(\"dlSampleAnswer\") from \"" + sample + "\"",
                                   "DlUnloadLib() successful dlclose" + quoted(sample) + " hdl 0"}));
}

TEST_F(Dl, TheFileInUseIsTheSystemsAnswer) {
    const TraceCapture trace(2);
    std::int32_t handle = -1;
    ASSERT_EQ(DlLoadLib("libm.so.6", handle), 0);
    const Lines traced = lines(trace);
    ASSERT_EQ(traced.size(), 2u);
    EXPECT_EQ(traced[0], "DlLoadLib success: dlopen(\"libm.so.6\"), hdl 0, count 1, addr");
    EXPECT_TRUE(traced[1].starts_with("    using \"/")) << traced[1];
    EXPECT_TRUE(traced[1].ends_with("libm.so.6\"")) << traced[1];
    EXPECT_EQ(DlUnloadLib(handle), 0);
}

TEST_F(Dl, ANameThatDiffersInCaseIsTheSameLibrary) {
    const std::string lower = linkTo(kSample, "sample.so");
    const std::string upper = directory_.file("SAMPLE.so");
    ASSERT_FALSE(std::filesystem::exists(upper));
    const TraceCapture trace(2);
    std::int32_t first = -1;
    std::int32_t second = -1;
    ASSERT_EQ(DlLoadLib(lower.c_str(), first), 0);
    ASSERT_EQ(DlLoadLib(upper.c_str(), second), 0);
    EXPECT_EQ(second, first);

    ASSERT_EQ(DlUnloadLib(second), 0);
    EXPECT_EQ(second, -1);
    EXPECT_TRUE(isLoaded(kSample));
    ASSERT_EQ(DlUnloadLib(first), 0);
    EXPECT_FALSE(isLoaded(kSample));
    EXPECT_EQ(
        lines(trace),
        Lines({"DlLoadLib success: dlopen" + quoted(lower) + ", hdl 0, count 1, addr", "    using \"" + lower + "\"",
               "DlLoadLib success: dlopen" + quoted(upper) + ", hdl 0, count 2, addr", "    using \"" + lower + "\"",
               "DlUnloadLib(): successful (usage_count=1) hdl 0 " + quoted(lower),
               "DlUnloadLib() successful dlclose" + quoted(lower) + " hdl 0"}));
}

TEST_F(Dl, AnEntryGivenBackIsUsedAgain) {
    const std::string a = linkTo(kSample, "a.so");
    const std::string b = linkTo(kSample, "b.so");
    const std::string c = linkTo(kSample, "c.so");
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
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "dlSampleAnswer"), nullptr);
    EXPECT_EQ(DlUnloadLib(handle), 0);
}

}  // namespace
}  // namespace quorvanti

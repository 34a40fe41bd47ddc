// What only this system's loader does.
#include "base/dptrc/dptrace.h"
#include "krn/dl/dl.h"
#include "krn/dl/dl_platform.h"

#include "tests/krn/dl/dl_fixture.h"

#include <windows.h>

namespace quorvanti {
namespace {

using test::TraceCapture;

class DlWin32 : public test::DlFixture {
protected:
    ~DlWin32() override {
        dlErrorMode = 0;
        SetErrorMode(before_);
    }

    // The process's error mode as the library saw it when it was loaded.
    static UINT modeDuringLoad(std::int32_t setting) {
        dlErrorMode = setting;
        std::int32_t handle = -1;
        EXPECT_EQ(DlLoadLib(DL_ERROR_MODE, handle), 0);
        DlFunction function = nullptr;
        EXPECT_EQ(DlLoadFunc(handle, "errorModeAtLoad", function), 0);
        const UINT mode = function != nullptr ? reinterpret_cast<UINT (*)()>(function)() : ~0U;
        EXPECT_EQ(DlUnloadLib(handle), 0);
        return mode;
    }

    const UINT before_ = GetErrorMode();
};

TEST_F(DlWin32, AMissingLibraryIsErrorNumber126WithTheSystemsText) {
    const TraceCapture trace(1);
    std::int32_t handle = -1;
    EXPECT_EQ(DlLoadLib("nosuchthing.dll", handle), -2);
    const std::string error = test::loadErrorOf("nosuchthing.dll");
    EXPECT_TRUE(error.starts_with("Error 126 = \"")) << error;
    EXPECT_GT(error.size(), sizeof "Error 126 = \"\"") << "the system has a text for it";
    EXPECT_EQ(recorded(9), "LoadLibrary(\"nosuchthing.dll\")\n  " + error);
}

// The text of the system for it names the file as "%1", and nothing is put in its place.
TEST_F(DlWin32, AFileThatIsNoLibraryIsErrorNumber193WithThePercentSignOfItsText) {
    const std::string name = directory_.file("text.dll");
    test::writeFile(name, "no library");
    const TraceCapture trace(1);
    std::int32_t handle = -1;
    EXPECT_EQ(DlLoadLib(name.c_str(), handle), -2);
    const std::string error = test::loadErrorOf(name.c_str());
    EXPECT_TRUE(error.starts_with("Error 193 = \"")) << error;
    EXPECT_NE(error.find("%1"), std::string::npos) << error;
    EXPECT_TRUE(trace.contains(doubled(error))) << trace.text();
    EXPECT_NE(recorded(9).find(error), std::string::npos) << recorded(9);
}

TEST_F(DlWin32, APercentSignOfTheNameIsDoubledInWhatIsTraced) {
    const TraceCapture trace(1);
    SetLastError(0);
    std::int32_t handle = -1;
    const std::string name = directory_.file("100%");
    EXPECT_EQ(DlLoadLib(name.c_str(), handle), -2);
    EXPECT_TRUE(trace.contains("\\100%%\")\n  Error 126 = \"")) << trace.text();
    EXPECT_NE(recorded(9).find("\\100%\")\n"), std::string::npos) << recorded(9);
}

TEST_F(DlWin32, TheErrorModeIsLeftAlone) {
    SetErrorMode(SEM_NOOPENFILEERRORBOX);
    EXPECT_EQ(modeDuringLoad(0), static_cast<UINT>(SEM_NOOPENFILEERRORBOX));
    EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOOPENFILEERRORBOX));
}

TEST_F(DlWin32, TheDialogsCanBeSwitchedOffForTheLoad) {
    SetErrorMode(SEM_NOOPENFILEERRORBOX);
    EXPECT_EQ(modeDuringLoad(1) & SEM_FAILCRITICALERRORS, static_cast<UINT>(SEM_FAILCRITICALERRORS));
    EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOOPENFILEERRORBOX)) << "as it was";
}

TEST_F(DlWin32, TheDialogsCanBeSwitchedOnForTheLoad) {
    for (const std::int32_t setting : {2, -1}) {
        SetErrorMode(SEM_FAILCRITICALERRORS);
        EXPECT_EQ(modeDuringLoad(setting) & SEM_FAILCRITICALERRORS, 0U);
        EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_FAILCRITICALERRORS)) << "as it was";
    }
}

TEST_F(DlWin32, TheErrorModeIsRestoredAfterAFailedLoadToo) {
    SetErrorMode(SEM_NOOPENFILEERRORBOX);
    dlErrorMode = 1;
    std::int32_t handle = -1;
    EXPECT_EQ(DlLoadLib("nosuchthing.dll", handle), -2);
    EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOOPENFILEERRORBOX));
    EXPECT_TRUE(recorded(9).find("Error 126 = ") != std::string::npos) << "restoring it lost the error";
}

}  // namespace
}  // namespace quorvanti

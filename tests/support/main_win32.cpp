// The main function of the test programs where GoogleTest's own does not do.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <string_view>

int main(int argc, char** argv) {
    // What goes wrong goes wrong without dialogs.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    // CTest, on the system that builds, reads the list of the tests.
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--gtest_list_tests") {
            _setmode(_fileno(stdout), _O_BINARY);
        }
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

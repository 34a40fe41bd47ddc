// A library that remembers the process's error mode at the time it was loaded.
#include <windows.h>

namespace {
UINT atLoad = 0;
}

extern "C" __declspec(dllexport) UINT errorModeAtLoad() {
    return atLoad;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        atLoad = GetErrorMode();
    }
    return TRUE;
}

// A library that leaves an empty file behind where it was loaded.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    char file[MAX_PATH] = "";
    if (reason == DLL_PROCESS_ATTACH && GetEnvironmentVariableA("LOADED_MARK", file, sizeof file) != 0) {
        CloseHandle(CreateFileA(file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    return TRUE;
}

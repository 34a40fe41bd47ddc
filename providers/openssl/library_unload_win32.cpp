// libcrypto is linked into this DLL, so nobody but us tells it that a thread or the DLL ends.
#include <openssl/crypto.h>
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_THREAD_DETACH)
        OPENSSL_thread_stop();
    // At the end of the process the other threads are gone already, perhaps with locks in hand: keep off.
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr)
        OPENSSL_cleanup();
    return TRUE;
}

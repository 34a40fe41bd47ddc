// libcrypto and the compiler's runtime are linked into this DLL, so nobody but us tells them that a thread or the DLL
// ends.
#include "runtime/give_back.h"

#include <openssl/crypto.h>
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
    // libcrypto would enter its clean-up in the C runtime's list for the end of the process, which calls it when the
    // DLL is long gone. The first initialisation decides, and even a look at libcrypto's errors is one. It would also
    // read a configuration file at the first certificate: from a place that any user may make, and the file may name
    // DLLs to load.
    if (reason == DLL_PROCESS_ATTACH)
        return OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT | OPENSSL_INIT_NO_LOAD_CONFIG, nullptr) == 1 ? TRUE : FALSE;
    if (reason == DLL_THREAD_DETACH)
        OPENSSL_thread_stop();
    // At the end of the process the other threads are gone already, perhaps with locks in hand: keep off.
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        OPENSSL_cleanup();
        quorvanti::runtime::giveBack();
    }
    return TRUE;
}

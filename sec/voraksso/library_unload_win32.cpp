// Nobody but us knows when the host lets the DLL go, with the compiler's runtime that is linked into it.
#include "krn/thr/thr.h"
#include "runtime/give_back.h"

#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
    // At the end of the process the other threads are gone already, perhaps with locks in hand: keep off.
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        quorvanti::ThrKeysGiveBack();
        quorvanti::runtime::giveBack();
    }
    return TRUE;
}

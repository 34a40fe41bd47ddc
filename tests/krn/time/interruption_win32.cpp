#include "tests/krn/time/interruption.h"

#include <pthread.h>
#include <windows.h>

namespace quorvanti::test {

void interrupt(std::thread& sleeper) {
    const HANDLE thread = static_cast<HANDLE>(pthread_gethandle(sleeper.native_handle()));
    QueueUserAPC([](ULONG_PTR) {}, thread, 0);
}

}  // namespace quorvanti::test

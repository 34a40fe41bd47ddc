#include "tests/krn/time/interruption.h"

#include <pthread.h>
#include <signal.h>

namespace quorvanti::test {

void interrupt(std::thread& sleeper) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    pthread_kill(sleeper.native_handle(), SIGUSR1);
}

}  // namespace quorvanti::test

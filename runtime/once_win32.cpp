// pthread_once as the compiler's runtime calls it, in place of winpthreads' own: that one makes a record of the calling
// thread and takes a system-wide index for it, 1,088 of which a process has and none of which it ever gives back.
// The linker puts these functions where the runtime asks for the others (--wrap).
#include <windows.h>

#include <atomic>

namespace {

constexpr long kRunning = 1;
constexpr long kDone = 2;

SRWLOCK guard = SRWLOCK_INIT;
CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;

class Guard {
public:
    Guard() { AcquireSRWLockExclusive(&guard); }
    ~Guard() { ReleaseSRWLockExclusive(&guard); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
};

// True when the caller has to do it.
bool begin(std::atomic_ref<long> state) {
    const Guard lock;
    while (state == kRunning) {
        SleepConditionVariableSRW(&changed, &guard, INFINITE, 0);
    }
    if (state == kDone) {
        return false;
    }
    state = kRunning;
    return true;
}

// Done, or, when an exception leaves the routine, to be done by the next.
struct Outcome {
    std::atomic_ref<long> state;
    long value = 0;
    ~Outcome() {
        const Guard lock;
        state.store(value, std::memory_order_release);
        WakeAllConditionVariable(&changed);
    }
};

}  // namespace

extern "C" int __wrap_pthread_once(long* once, void (*routine)()) {
    const std::atomic_ref<long> state(*once);
    if (state.load(std::memory_order_acquire) != kDone && begin(state)) {
        Outcome outcome{state};
        routine();
        outcome.value = kDone;
    }
    return 0;
}

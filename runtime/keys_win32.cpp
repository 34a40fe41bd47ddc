// Thread keys as the compiler's runtime calls them, in place of winpthreads' own (once_win32.cpp says why), in
// fiber-local storage: when a key is given back, the system hands the values of all threads to its destructor.
#include "runtime/give_back.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <cerrno>

// Of the compiler's runtime, which declares it nowhere: gives back what is set aside for exceptions without memory.
namespace __gnu_cxx {
void __freeres();
}

namespace {

// The runtime has one for all thread_local variables and one for their destructors.
// An index of the system, and 1 added; 0 is none.
std::array<std::atomic<DWORD>, 8> indices{};
std::atomic<unsigned> used{0};

}  // namespace

extern "C" int __wrap_pthread_key_create(unsigned* key, void (*destructor)(void*)) {
    const unsigned at = used.fetch_add(1);
    if (at >= indices.size()) {
        return EAGAIN;
    }
    const DWORD index = FlsAlloc(destructor);
    if (index == FLS_OUT_OF_INDEXES) {
        return EAGAIN;
    }
    indices[at] = index + 1;
    *key = index;
    return 0;
}

extern "C" int __wrap_pthread_key_delete(unsigned key) {
    for (std::atomic<DWORD>& index : indices) {
        DWORD expected = key + 1;
        if (index.compare_exchange_strong(expected, 0)) {
            return FlsFree(key) != FALSE ? 0 : EINVAL;
        }
    }
    return EINVAL;
}

extern "C" void* __wrap_pthread_getspecific(unsigned key) {
    // As the other one does: asking does not change the system's error number.
    const DWORD error = GetLastError();
    void* const value = FlsGetValue(key);
    SetLastError(error);
    return value;
}

extern "C" int __wrap_pthread_setspecific(unsigned key, const void* value) {
    return FlsSetValue(key, const_cast<void*>(value)) != FALSE ? 0 : ENOMEM;
}

void quorvanti::runtime::giveBack() {
    for (std::atomic<DWORD>& index : indices) {
        if (const DWORD key = index.exchange(0); key != 0) {
            FlsFree(key - 1);
        }
    }
    __gnu_cxx::__freeres();
}

#include "tests/support/allocation_failure.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool failing = false;
thread_local int stillAllowed = 0;

void* allocate(std::size_t size) noexcept {
    if (failing && stillAllowed-- <= 0) {
        return nullptr;
    }
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(std::size_t size) {
    void* memory = allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace quorvanti::test {

AllocationFailure::AllocationFailure(int allowed) {
    stillAllowed = allowed;
    failing = true;
}

AllocationFailure::~AllocationFailure() {
    failing = false;
}

}  // namespace quorvanti::test

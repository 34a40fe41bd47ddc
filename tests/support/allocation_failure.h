// Lets the calling thread's allocations by `new` fail for the length of a scope. A test program that uses it links
// quorvanti_test_allocation.
#pragma once

namespace quorvanti::test {

class AllocationFailure {
public:
    // The first `allowed` allocations still succeed.
    explicit AllocationFailure(int allowed = 0);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
};

}  // namespace quorvanti::test

// What interrupts a sleeping thread on this system.
#pragma once

#include <thread>

namespace quorvanti::test {

void interrupt(std::thread& sleeper);

}  // namespace quorvanti::test

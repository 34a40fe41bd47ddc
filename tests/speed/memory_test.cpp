// A million accepted tickets leave no more memory in use than ten thousand.
#include <quorvanti/voraksso.h>

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <fstream>

#include "tests/speed/scene.h"

namespace quorvanti::speed {
namespace {

#ifdef QUORVANTI_SANITIZED
constexpr int evaluations = 20000;  // the sanitizer finds what is lost; its own book-keeping is all that grows
#else
constexpr int evaluations = 1000000;
#endif

std::size_t residentBytes() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void evaluate(const Ticket& ticket, int times) {
    std::array<char, 64> user;
    TICKET_INFO info{};
    for (int i = 0; i < times; ++i) {
        auto userLength = static_cast<std::uint32_t>(user.size());
        info = {};
        info.struct_size = sizeof info;
        info.user = user.data();
        info.user_capacity = &userLength;
        ASSERT_EQ(
            VorakEvalLogonTicketEx(ticket.text.c_str(), ticket.keyStore.c_str(), nullptr, nullptr, nullptr, &info),
            VORAK_OK);
    }
}

TEST(Memory, DoesNotGrowOverAMillionEvaluations) {
    ASSERT_EQ(VorakInitialize(nullptr), VORAK_OK);
    const Ticket ticket("rsa-full", "rsa.pem");
    evaluate(ticket, evaluations / 100);
    [[maybe_unused]] const std::size_t allocatedBefore = mallinfo2().uordblks;
    [[maybe_unused]] const std::size_t residentBefore = residentBytes();
    evaluate(ticket, evaluations);
#ifndef QUORVANTI_SANITIZED
    EXPECT_LE(mallinfo2().uordblks, allocatedBefore + 4096);
    EXPECT_LE(residentBytes(), residentBefore + 262144);
#endif
    VorakShutdown();
}

}  // namespace
}  // namespace quorvanti::speed

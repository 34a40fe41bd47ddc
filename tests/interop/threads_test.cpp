// Sixteen threads use the library at once in every way that is allowed.
#include "tests/interop/evaluation.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ctime>
#include <functional>
#include <thread>

using namespace quorvanti::test;

namespace {

class Threads : public testing::Test {
protected:
    Threads() {
        writeFile(profile_, issuer_.certificatePem());
        assertion_ = issuer_.ticket(TicketBuilder::assertion(std::time(nullptr), "DEV", "200"));
        logon_ = issuer_.ticket(TicketBuilder::logon(std::time(nullptr)));
        expired_ = issuer_.ticket(TicketBuilder::logon(std::time(nullptr) - 10 * 3600));
    }

    // What one thread does in one turn; true: as expected.
    bool evaluate(int turn) const {
        switch (turn % 4) {
            case 0: {
                const Evaluation result = evaluateLogon(logon_, profile_);
                return result.code == VORAK_OK && result.user == "JDOE" && result.portalUser == "jdoe";
            }
            case 1:
                return evaluateLogon(expired_, profile_).code == VORAK_TICKET_EXPIRED;
            case 2:
                return evaluateAssertion(assertion_, profile_, "DEV", "200").code == VORAK_OK;
            default:
                return evaluateLogon("AAAA", profile_).code == VORAK_MALFORMED;
        }
    }

    // Values that no evaluation above depends on, but reads.
    static bool setProperties(int turn) {
        const bool even = turn % 2 == 0;
        return QuorvantiSetProperty("KAV_EXT_SYSID", even ? "ABC" : "ABCDEFGH") == VORAK_OK &&
               QuorvantiSetProperty("KAV_EXT_CLIENT", even ? "001" : nullptr) == VORAK_OK &&
               QuorvantiSetProperty("KAV_EXT_CODEPAGE", even ? "4110" : "1100") == VORAK_OK &&
               QuorvantiSetProperty("SSF_HASH", even ? "SHA256" : nullptr) == VORAK_OK &&
               QuorvantiSetProperty("SSF_INCLUDE_CERT", even ? "yes" : "no") == VORAK_OK;
    }

    bool switchTrace(int turn) const {
        static constexpr const char* levels[] = {"0", "1", "2", "3"};
        const std::string target = directory_.file("trace" + std::to_string(turn % 3));
        return QuorvantiSetProperty("KAV_EXT_TRL", levels[turn % 4]) == VORAK_OK &&
               QuorvantiSetProperty("KAV_EXT_TRC", turn % 5 == 0 ? nullptr : target.c_str()) == VORAK_OK;
    }

    const TemporaryDirectory directory_;
    const std::string profile_ = directory_.file("profile");
    const InProcessIssuer issuer_{KeyKind::ec};
    std::string logon_, assertion_, expired_;
    const Library library_;
};

TEST_F(Threads, SixteenEvaluateSetPropertiesAndSwitchTheTrace) {
    std::atomic<int> wrong{0};
    const std::function<bool(int)> jobs[] = {[this](int turn) { return evaluate(turn); }, setProperties,
                                             [this](int turn) { return switchTrace(turn); },
                                             [](int) { return VorakInitialize(nullptr) == VORAK_OK; }};
    std::vector<std::thread> threads;
    for (int number = 0; number < 16; ++number) {
        // Twelve evaluate, two set properties, one switches the trace, one starts what is started.
        const auto& job = jobs[number < 12 ? 0 : number < 14 ? 1 : number - 12];
        threads.emplace_back([&job, &wrong, number] {
            for (int turn = number; turn < number + 100; ++turn) {
                wrong += job(turn) ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    QuorvantiSetProperty("KAV_EXT_TRC", nullptr);
}

TEST(Start, OfSixteenThreadsAtOnceLoadsTheLibraryOnce) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 16; ++number) {
        threads.emplace_back([&wrong] { wrong += VorakInitialize(nullptr) == VORAK_OK ? 0 : 1; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(VorakShutdown(), VORAK_OK);
}

}  // namespace

// A server evaluates for months: no evaluation leaves anything behind, failed ones included.
#include "tests/interop/evaluation.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/process_memory.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <ctime>

using namespace quorvanti::test;

namespace {

#ifdef QUORVANTI_SANITIZED
constexpr int rounds = 500;  // the leak check at the process's end finds in one what takes the measurement thousands
#else
constexpr int rounds = 10000;
#endif

class Growth : public testing::Test {
protected:
    Growth() : accepted_(issuer_.ticket(TicketBuilder::logon(std::time(nullptr)))) {
        writeFile(pem_, issuer_.certificatePem());
        writeFile(stranger_, InProcessIssuer(KeyKind::ec).certificatePem());
        writeFile(garbage_, "no key store");
        const Bytes pkcs12 = issuer_.pkcs12("opensesame");
        writeFile(pkcs12_, std::string(pkcs12.begin(), pkcs12.end()));
        expired_ = issuer_.ticket(TicketBuilder::logon(std::time(nullptr) - 10 * 3600));
        tampered_ = accepted_;
        tampered_[40] = tampered_[40] == 'A' ? 'B' : 'A';
        truncated_ = accepted_.substr(0, accepted_.size() / 2);
        recipient_ =
            issuer_.ticket(TicketBuilder::logon(std::time(nullptr)).recipientSystemId("QAS").recipientClient("1"));
    }

    // Ten evaluations, each going another way.
    void round() const {
        EXPECT_EQ(evaluateLogon(accepted_, pem_).code, VORAK_OK);
        EXPECT_EQ(evaluateLogon(accepted_, pkcs12_, "opensesame").code, VORAK_OK);
        EXPECT_EQ(evaluateLogon(expired_, pem_).code, VORAK_TICKET_EXPIRED);
        EXPECT_NE(evaluateLogon(tampered_, pem_).code, VORAK_OK);
        EXPECT_NE(evaluateLogon(truncated_, pem_).code, VORAK_OK);
        EXPECT_NE(evaluateLogon(accepted_, stranger_).code, VORAK_OK);
        EXPECT_NE(evaluateLogon(accepted_, garbage_).code, VORAK_OK);
        EXPECT_NE(evaluateLogon(accepted_, pem_ + ".missing").code, VORAK_OK);
        EXPECT_EQ(evaluateLogon("no base64", pem_).code, VORAK_NOT_BASE64);
        EXPECT_EQ(evaluateLogon(recipient_, pem_).code, VORAK_NOT_FOR_US);
    }

    const TemporaryDirectory directory_;
    const std::string pem_ = directory_.file("pem");
    const std::string pkcs12_ = directory_.file("pkcs12");
    const std::string stranger_ = directory_.file("stranger");
    const std::string garbage_ = directory_.file("garbage");
    const InProcessIssuer issuer_{KeyKind::ec};
    const std::string accepted_;
    std::string expired_, tampered_, truncated_, recipient_;
    const Library library_;
};

TEST_F(Growth, ThereIsNoneOverAHundredThousandEvaluations) {
    for (int i = 0; i < rounds / 10; ++i) {
        round();  // caches fill and the heap finds its shape
    }
    const ProcessMemory before = processMemory();
    for (int i = 0; i < rounds && !HasFailure(); ++i) {
        round();
    }
    const ProcessMemory after = processMemory();
#ifndef QUORVANTI_SANITIZED
    // One lost byte in each evaluation would be 100,000.
    EXPECT_LT(after.allocated, before.allocated + 16384);
    EXPECT_LT(after.resident, before.resident + 1048576);
#else
    static_cast<void>(before);
    static_cast<void>(after);
#endif
}

}  // namespace

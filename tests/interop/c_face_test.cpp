// Programs in plain C, built as a stranger would: the one beside this file and the one in the README.
#include "tests/support/command.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>

using namespace quorvanti::test;

namespace {

class CFace : public testing::Test {
protected:
    CFace() { writeFile(profile_, issuer_.certificatePem()); }

    const TemporaryDirectory directory_;
    const std::string profile_ = directory_.file("profile");
    const InProcessIssuer issuer_{KeyKind::ec};
};

TEST_F(CFace, AStrangersProgramFindsEverythingAsTheHeaderSays) {
    const CommandResult result =
        runCommand({QUORVANTI_C_FACE, issuer_.ticket(TicketBuilder::logon(std::time(nullptr))), profile_});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "all is as it should be\n");
}

TEST_F(CFace, TheReadmesExampleAcceptsATicketAndRefusesAnExpiredOne) {
    const CommandResult accepted =
        runCommand({QUORVANTI_README_EXAMPLE, issuer_.ticket(TicketBuilder::logon(std::time(nullptr))), profile_});
    EXPECT_EQ(accepted.out, "JDOE of PRD\n");
    EXPECT_EQ(accepted.exitCode, 0);
    const CommandResult refused = runCommand(
        {QUORVANTI_README_EXAMPLE, issuer_.ticket(TicketBuilder::logon(std::time(nullptr) - 36000)), profile_});
    EXPECT_EQ(refused.out, "refused: 4, crypto library 0\n");
    EXPECT_EQ(refused.exitCode, 1);
}

}  // namespace

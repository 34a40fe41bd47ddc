// A default start with the bundled crypto library, and a ticket that is in order, leave no error behind.
#include "tests/interop/evaluation.h"
#include "tests/support/environment.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::Not;

namespace {

TEST(QuietStart, WritesTheBannerAndNoErrorOrWarning) {
    const TemporaryDirectory directory;
    const std::string trace = directory.file("trace");
    const EnvironmentVariable library("SSF_LIB", nullptr);
    const EnvironmentVariable target("KAV_EXT_TRC", trace.c_str());
    const EnvironmentVariable level("KAV_EXT_TRL", "1");
    const InProcessIssuer issuer(KeyKind::rsa);
    writeFile(directory.file("profile"), issuer.certificatePem());
    {
        const Library session;
        ASSERT_EQ(session.startCode(), VORAK_OK);
        EXPECT_EQ(
            evaluateLogon(issuer.ticket(TicketBuilder::logon(std::time(nullptr))), directory.file("profile")).code,
            VORAK_OK);
    }
    const std::string text = readFile(trace);
    EXPECT_THAT(text, HasSubstr("Initializing QUORVANTI Version 15"));
    EXPECT_THAT(text, HasSubstr("Initializing SSF Library Version"));
    EXPECT_THAT(text, Not(HasSubstr("*** ")));
}

TEST(QuietStart, LoadsTheBundledCryptoLibraryByItsDefaultName) {
    const TemporaryDirectory directory;
    const EnvironmentVariable library("SSF_LIB", nullptr);
    const EnvironmentVariable target("KAV_EXT_TRC", directory.file("trace").c_str());
    const EnvironmentVariable level("KAV_EXT_TRL", "2");
    {
        const Library session;
        ASSERT_EQ(session.startCode(), VORAK_OK);
    }
    EXPECT_THAT(readFile(directory.file("trace")), HasSubstr("use default: " QUORVANTI_CRYPTO_NAME));
}

}  // namespace

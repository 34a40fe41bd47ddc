#include "tools/sso2ticket/password.h"

#include "tests/support/environment.h"
#include "tests/support/temporary_directory.h"
#include "tools/sso2ticket/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace quorvanti;
using quorvanti::test::EnvironmentVariable;
using quorvanti::test::TemporaryDirectory;
using quorvanti::test::writeFile;
using testing::HasSubstr;

namespace {

void refused(const PasswordSource& source, const std::string& reason) {
    try {
        readPassword(source);
        ADD_FAILURE() << "was read";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exit(), ExitCode::configuration);
        EXPECT_THAT(failure.what(), HasSubstr(reason));
    }
}

TEST(Password, IsTheFirstLineOfAFile) {
    const TemporaryDirectory directory;
    writeFile(directory.file("unix"), "open sesame\nsecond line\n");
    writeFile(directory.file("windows"), "open sesame\r\n");
    writeFile(directory.file("bare"), "open sesame");
    for (const char* name : {"unix", "windows", "bare"}) {
        EXPECT_EQ(readPassword({directory.file(name), "", false})->view(), "open sesame") << name;
    }
}

TEST(Password, IsTheValueOfAnEnvironmentVariable) {
    const EnvironmentVariable variable("QUORVANTI_TEST_PASSWORD", "open sesame");
    EXPECT_STREQ(readPassword({"", "QUORVANTI_TEST_PASSWORD", false})->text(), "open sesame");
}

TEST(Password, IsAbsentWithoutASource) {
    EXPECT_FALSE(readPassword({}).has_value());
}

TEST(Password, ASourceThatIsMissingIsSaidWithoutAValue) {
    const EnvironmentVariable variable("QUORVANTI_TEST_PASSWORD", nullptr);
    refused({"", "QUORVANTI_TEST_PASSWORD", false}, "QUORVANTI_TEST_PASSWORD is not set");
    refused({"/nonexistent/password", "", false}, "/nonexistent/password cannot be read");
    refused({"/", "", false}, "cannot be read");
}

TEST(Password, OneThatIsLongerThanAnyIsRefusedAndNotCut) {
    const TemporaryDirectory directory;
    writeFile(directory.file("long"), std::string(1025, 'x'));
    refused({directory.file("long"), "", false}, "too long");
    writeFile(directory.file("longest"), std::string(1024, 'x'));
    EXPECT_EQ(readPassword({directory.file("longest"), "", false})->view().size(), 1024U);
}

TEST(Secret, MovesWithoutLeavingACopy) {
    Secret first;
    first.append('x');
    const char* place = first.text();
    const Secret second(std::move(first));
    EXPECT_EQ(second.view(), "x");
    EXPECT_EQ(second.text(), place);
}

}  // namespace

#include "tools/sso2ticket/ticket_input.h"

#include "tests/support/temporary_directory.h"
#include "tools/sso2ticket/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace quorvanti;
using quorvanti::test::TemporaryDirectory;
using quorvanti::test::writeFile;
using testing::HasSubstr;

namespace {

std::string read(const std::string& argument, const std::string& standardInput = "") {
    std::istringstream in(standardInput);
    return readTicket(argument, in);
}

void unreadable(const std::string& argument, const std::string& standardInput, const std::string& reason) {
    try {
        read(argument, standardInput);
        ADD_FAILURE() << "was read";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exit(), ExitCode::inputUnreadable);
        EXPECT_THAT(failure.what(), HasSubstr(reason));
    }
}

TEST(TicketInput, ComesFromTheArgumentAFileOrStandardInput) {
    const TemporaryDirectory directory;
    writeFile(directory.file("ticket"), "AjEx\n");
    EXPECT_EQ(read("AjEx"), "AjEx");
    EXPECT_EQ(read("@" + directory.file("ticket")), "AjEx");
    EXPECT_EQ(read("-", "AjEx\r\n"), "AjEx");
}

TEST(TicketInput, WhiteSpaceAtTheEndsGoesAndInsideStays) {
    EXPECT_EQ(tidyTicket(" \t\r\nAj Ex\n"), "Aj Ex");
    EXPECT_EQ(tidyTicket(" \n"), "");
}

TEST(TicketInput, AnExclamationMarkIsThePlusThatItWasWrittenFor) {
    EXPECT_EQ(tidyTicket("A!j!"), "A+j+");
}

TEST(TicketInput, WhatCannotBeReadIsSaid) {
    const TemporaryDirectory directory;
    writeFile(directory.file("empty"), "");
    unreadable("@" + directory.file("missing"), "", "missing cannot be read");
    unreadable("@" + directory.file("empty"), "", "empty");
    unreadable("@" + directory.path().string(), "", "cannot be read");
    unreadable("-", "", "no ticket in the input");
    unreadable("-", " \n", "no ticket in the input");
    unreadable("-", std::string("AjEx\0AjEx", 9), "zero byte");
}

TEST(TicketInput, ReadsNoMoreThanAnyTicketNeeds) {
    EXPECT_EQ(read("-", std::string(1000000, 'A')).size(), 65536U);
}

}  // namespace

// What javac says about the native methods, and what the library defines: the same declarations, or this does not
// compile.
#include "bindings/java/native/sso2ticket.h"

#include <com_vorak_sso_SSO2Ticket.h>
#include <SSO2Ticket.h>

#include <gtest/gtest.h>

namespace {

TEST(Signatures, AreThoseThatTheClassesDeclare) {
    EXPECT_NE(&Java_com_vorak_sso_SSO2Ticket_createAssertionTicket, nullptr);
    EXPECT_NE(&Java_SSO2Ticket_createAssertionTicket, nullptr);
}

}  // namespace

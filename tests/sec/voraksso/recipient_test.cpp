#include "sec/voraksso/recipient.h"

#include "tests/sec/voraksso/engine_fixture.h"

#include <memory>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class Recipient : public EngineTest {
protected:
    std::int32_t assertion(const TicketBuilder& builder, const char* systemId = "SYS", const char* client = "000") {
        renew();
        return VorakEvalAssertionTicket(ticket(builder).c_str(), "p", nullptr, systemId, client, &record().info);
    }
    std::int32_t logonMode(const TicketBuilder& builder) {
        renew();
        return evaluate(ticket(builder), record().info);
    }
    // The record of the last evaluation.
    FullRecord& record() { return *record_; }
    static TicketBuilder to(std::string_view systemId, std::string_view client) {
        return TicketBuilder::assertion(kNow, systemId, client);
    }
    static TicketBuilder aged() { return TicketBuilder().creation(kNow).validityHours(1).flags(1); }

    EnvironmentVariable name_{"KAVSYSTEMNAME", nullptr};
    EnvironmentVariable client_{"KAVSYSTEMCLIENT", nullptr};

private:
    void renew() { record_ = std::make_unique<FullRecord>(); }

    std::unique_ptr<FullRecord> record_;
};

TEST_F(Recipient, ATicketForUsMatchesInBothModesEachWithItsOwnProperties) {
    EXPECT_EQ(assertion(to("SYS", "000")), VORAK_OK);
    EXPECT_EQ(record().info.assertion_marker, 1);
    EXPECT_EQ(record().info.flags, 1u);
    EXPECT_EQ(logonMode(to("SYS", "000")), VORAK_NOT_FOR_US) << "logon mode compares with EXT and 999";
    EXPECT_EQ(logonMode(to("EXT", "999")), VORAK_OK);
    EXPECT_EQ(record().info.assertion_marker, 1) << "the flag is set, so the marker stays";
}

TEST_F(Recipient, LogonModeUsesTheConfiguredRecipient) {
    QuorvantiSetProperty("KAV_EXT_SYSID", "PRODUCT1");
    QuorvantiSetProperty("KAV_EXT_CLIENT", "123");
    EXPECT_EQ(logonMode(to("PRODUCT1", "123")), VORAK_OK);
    QuorvantiSetProperty("KAV_EXT_SYSID", nullptr);
    QuorvantiSetProperty("KAV_EXT_CLIENT", nullptr);
}

TEST_F(Recipient, ALogonTicketWithoutRecipientIsValidAndItsMarkerBecomes0) {
    EXPECT_EQ(logonMode(TicketBuilder().creation(kNow).validityHours(1)), VORAK_OK);
    EXPECT_EQ(record().info.assertion_marker, 0);
    FullRecord flagged;
    EXPECT_EQ(evaluate(ticket(aged()), flagged.info), VORAK_OK);
    EXPECT_EQ(flagged.info.assertion_marker, 77) << "an assertion ticket without recipient leaves the marker";
    FullRecord unflagged;
    EXPECT_EQ(evaluate(ticket(aged().flags(2)), unflagged.info), VORAK_OK) << "of two units the later one counts";
    EXPECT_EQ(unflagged.info.flags, 2u);
    EXPECT_EQ(unflagged.info.assertion_marker, 0);
}

TEST_F(Recipient, AnAssertionTicketWithoutRecipientIsRefused) {
    const TraceCapture trace(1);
    EXPECT_EQ(assertion(aged()), VORAK_NOT_FOR_US);
    EXPECT_TRUE(record().cleared());
    EXPECT_TRUE(hasLine(trace, "*** ERROR => KAV Assertion Ticket is without recipient information. [ssoxxext]"));
}

TEST_F(Recipient, OneRecipientUnitAloneIsRefused) {
    const TraceCapture trace(1);
    EXPECT_EQ(assertion(aged().recipientClient("000")), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(aged().recipientSystemId("SYS")), VORAK_NOT_FOR_US);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Recipient client in ticket but not recipient name. [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Recipient system name in ticket but not recipient client. [ssoxxext]"));
}

TEST_F(Recipient, AnOwnIdentityThatIsMissingIsRefused) {
    const TraceCapture trace(1);
    EXPECT_EQ(assertion(to("SYS", "000"), "", "000"), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(to("SYS", "000"), "SYS", ""), VORAK_NOT_FOR_US);
    EXPECT_TRUE(hasLine(trace,
                        "*** ERROR => Ticket contains recipient information, but there is no own identity "
                        "defined (see note 7700102). [ssoxxext]"));
}

TEST_F(Recipient, AnotherSystemOfTheSameLengthIsNamed) {
    const TraceCapture trace(2);
    EXPECT_EQ(assertion(to("ABC", "000")), VORAK_NOT_FOR_US);
    EXPECT_TRUE(record().cleared());
    EXPECT_TRUE(hasLine(trace,
                        "*** ERROR => Recipient system name does not match with current system name (see note "
                        "7700102). [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace, "Recipient in ticket: sysid=>ABC     < with used length of 3"));
    EXPECT_TRUE(hasLine(trace, "Current system ID  : sysid=>SYS<"));
}

TEST_F(Recipient, AnotherSystemOfAnotherLengthIsNamedWithBothLengths) {
    const TraceCapture trace(1);
    EXPECT_EQ(assertion(to("SYSTEM", "000")), VORAK_NOT_FOR_US);
    EXPECT_TRUE(hasLine(trace,
                        "*** ERROR => Recipient system name length 6 does not match with current system name "
                        "length 3, (see note 7700102). [ssoxxext]"));
    EXPECT_EQ(assertion(to("SYS", "001")), VORAK_NOT_FOR_US);
    EXPECT_FALSE(trace.contains("=>SYS")) << "who the ticket is for, and who we are, is said at level 2";
    EXPECT_FALSE(trace.contains("client=>"));
}

TEST_F(Recipient, AnotherClientIsNamed) {
    const TraceCapture trace(2);
    EXPECT_EQ(assertion(to("SYS", "001")), VORAK_NOT_FOR_US);
    EXPECT_TRUE(hasLine(trace,
                        "*** ERROR => Recipient client does not match with current client (see note 7700102). "
                        "[ssoxxext]"));
    EXPECT_TRUE(hasLine(trace, "Recipient client in ticket: client=>001< with used length of 3"));
    EXPECT_TRUE(hasLine(trace, "Current system client     : client=>000<"));
}

TEST_F(Recipient, TrailingBlanksDoNotCount) {
    EXPECT_EQ(assertion(to("SYS  ", "0"), "SYS ", "0  "), VORAK_OK);
}

TEST_F(Recipient, OnlyTheWidthOfTheFieldIsLookedAtInOurOwnName) {
    EXPECT_EQ(assertion(to("SYSTEM12", "000"), "SYSTEM123", "0001"), VORAK_OK);
    EXPECT_EQ(assertion(to("SYSTEM1", "000"), "SYSTEM123", "000"), VORAK_NOT_FOR_US);
}

TEST_F(Recipient, ANameInATicketThatIsLongerThanItsFieldNeverMatches) {
    EXPECT_EQ(assertion(to("SYSTEM123", "000"), "SYSTEM12", "000"), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(to("SYSTEM123", "000"), "SYSTEM123", "000"), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(to("SYS", "0000"), "SYS", "000"), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(to(std::string(256, 'S'), "000"), "SSSSSSSS", "000"), VORAK_NOT_FOR_US);
}

TEST_F(Recipient, AnEmptyNameMatchesNobody) {
    EXPECT_EQ(assertion(to("", "000")), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(to("SYS", "")), VORAK_NOT_FOR_US);
}

TEST_F(Recipient, ANameThatTheFieldCannotRepresentMatchesNoSign) {
    EXPECT_EQ(assertion(to("SY\xE2\x82\xAC", "000"), "SY#", "000"), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(to("SY#", "000"), "SY#", "000"), VORAK_OK);
    EXPECT_EQ(assertion(to("SY\xC3", "000"), "SY#", "000"), VORAK_NOT_FOR_US) << "no UTF-8";
}

TEST_F(Recipient, AnAssertionTicketNeedsItsFlag) {
    const TraceCapture trace(1);
    const TicketBuilder bare =
        TicketBuilder().creation(kNow).validityHours(1).recipientSystemId("SYS").recipientClient("000");
    EXPECT_EQ(assertion(bare), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(TicketBuilder(bare).flags(0xFE)), VORAK_NOT_FOR_US);
    EXPECT_EQ(assertion(TicketBuilder(bare).unit(0x08, "")), VORAK_NOT_FOR_US);
    EXPECT_TRUE(record().cleared());
    EXPECT_EQ(assertion(TicketBuilder(bare).flags(0xFF)), VORAK_OK);
    EXPECT_EQ(record().info.flags, 0xFFu);
    EXPECT_TRUE(
        hasLine(trace, "*** ERROR => Ticket syntax is not valid for KAV Assertion Ticket. Missing Flags [ssoxxext]"));
    EXPECT_TRUE(
        hasLine(trace, "*** ERROR => Ticket syntax is not valid for KAV Assertion Ticket. Invalid Flags [ssoxxext]"));
}

TEST_F(Recipient, AgeIsCheckedBeforeTheRecipient) {
    FixedClock::set(kNow + 365 * 86400);
    EXPECT_EQ(assertion(to("ABC", "000")), VORAK_TICKET_EXPIRED);
}

}  // namespace
}  // namespace quorvanti

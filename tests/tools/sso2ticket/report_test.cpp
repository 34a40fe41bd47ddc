#include "tools/sso2ticket/report.h"

#include "tools/sso2ticket/output.h"

#include "tests/support/issuer/in_process_issuer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace quorvanti;
using quorvanti::test::InProcessIssuer;
using quorvanti::test::KeyKind;
using testing::HasSubstr;

namespace {

TicketContents contents() {
    TicketContents contents;
    contents.systemId = "PRD";
    contents.user = "JDOE";
    contents.client = "100";
    contents.language = "EN";
    contents.portalUser = "jdoe";
    contents.authScheme = "basicauthentication";
    contents.creationTime = 1709210100;
    contents.validity = 28740;
    contents.flags = 1;
    contents.recipientMatched = true;
    return contents;
}

TEST(Report, AnAcceptedTicketAsText) {
    EXPECT_EQ(acceptedText(contents(), {"CN=issuer", "CN=ca", "4711", "00:FF"}),
              "accepted\n"
              "user                   JDOE\n"
              "system id              PRD\n"
              "client                 100\n"
              "language               EN\n"
              "created                2024-02-29T12:35:00Z\n"
              "valid for              7 h 59 min (28740 s)\n"
              "portal user            jdoe\n"
              "authentication scheme  basicauthentication\n"
              "flags                  0x01\n"
              "recipient              this system\n"
              "signer                 CN=issuer\n"
              "issued by              CN=ca\n"
              "serial number          4711\n"
              "fingerprint (SHA-256)  00:FF\n");
}

TEST(Report, AnAcceptedTicketAsJson) {
    const auto json = nlohmann::json::parse(acceptedJson(contents(), {"CN=issuer", "CN=ca", "4711", "00:FF"}));
    EXPECT_EQ(json["accepted"], true);
    EXPECT_EQ(json["user"], "JDOE");
    EXPECT_EQ(json["systemId"], "PRD");
    EXPECT_EQ(json["client"], "100");
    EXPECT_EQ(json["language"], "EN");
    EXPECT_EQ(json["creationTime"], "2024-02-29T12:35:00Z");
    EXPECT_EQ(json["validitySeconds"], 28740);
    EXPECT_EQ(json["portalUser"], "jdoe");
    EXPECT_EQ(json["authenticationScheme"], "basicauthentication");
    EXPECT_EQ(json["flags"], 1);
    EXPECT_EQ(json["recipientMatched"], true);
    EXPECT_EQ(json["signer"]["subject"], "CN=issuer");
    EXPECT_EQ(json["signer"]["serialNumber"], "4711");
}

TEST(Report, ARejectedTicketAsTextAndJson) {
    const Explanation explanation = explain((22 << 16) | 5);
    const std::string text = rejectedText(explanation);
    EXPECT_THAT(text, testing::StartsWith("rejected\n"));
    EXPECT_THAT(text, HasSubstr("1441797 (standard error 5, ssf error 22)"));
    EXPECT_THAT(text, HasSubstr(explanation.next));
    const auto json = nlohmann::json::parse(rejectedJson(explanation));
    EXPECT_EQ(json["accepted"], false);
    EXPECT_EQ(json["code"], 1441797);
    EXPECT_EQ(json["standardError"], 5);
    EXPECT_EQ(json["ssfError"], 22);
    EXPECT_EQ(json["next"], explanation.next);
}

TEST(Report, ATicketDrivesNoTerminalAndBreaksNoJson) {
    TicketContents hostile = contents();
    hostile.user = "\x1b[2J\nJDOE\xFF";
    EXPECT_THAT(acceptedText(hostile, {}), HasSubstr("\\x1B[2J\\x0AJDOE\xFF\n"));
    EXPECT_EQ(nlohmann::json::parse(acceptedJson(hostile, {}))["user"], "\x1b[2J\nJDOE\xEF\xBF\xBD");
}

TEST(Report, TimesAreUtcOnBothSidesOf1970) {
    EXPECT_EQ(utcText(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(utcText(-1), "1969-12-31T23:59:59Z");
    EXPECT_EQ(utcText(951782400), "2000-02-29T00:00:00Z");
}

TEST(Report, DurationsNameHoursWhenThereAreAny) {
    EXPECT_EQ(durationText(59), "0 min");
    EXPECT_EQ(durationText(3599), "59 min");
    EXPECT_EQ(durationText(3600), "1 h 0 min");
    EXPECT_EQ(durationText(2147483647), "596523 h 14 min");
}

TEST(Signer, IsReadFromTheCertificate) {
    const Signer signer = describeSigner(InProcessIssuer(KeyKind::ec, "J\xC3\xBCrgen, Issuer").certificateDer());
    EXPECT_EQ(signer.subject, "CN=J\xC3\xBCrgen\\, Issuer");
    EXPECT_EQ(signer.issuer, signer.subject);
    EXPECT_EQ(signer.serialNumber, "4711");
    EXPECT_EQ(signer.fingerprint.size(), 95U);
}

TEST(Signer, OfBytesThatAreNoCertificateIsEmpty) {
    EXPECT_EQ(describeSigner({}).subject, "");
    EXPECT_EQ(describeSigner(std::vector<std::uint8_t>{0x30, 0x03}).fingerprint, "");
}

}  // namespace

#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/voraksso/assertion_result.h"
#include "sec/voraksso/state.h"
#include "sec/voraksso/ticket_codec.h"

#include <algorithm>
#include <cstring>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

// A text and its length as AssertionContent refers to them.
struct Text {
    std::string text;
    std::uint32_t length = 0;

    void set(std::string value) {
        text = std::move(value);
        length = static_cast<std::uint32_t>(text.size());
    }
};

class Assertion : public EngineTest {
protected:
    explicit Assertion(const char* cryptoDouble = "double_full") : EngineTest(cryptoDouble) {
        content.structSize = sizeof content;
        std::memcpy(content.codePage, "1100", 4);
        recipientSysId.set("SYS");
        recipientClient.set("000");
        user.set("JDOE");
        content.recipientSysId = recipientSysId.text.data();
        content.recipientSysIdLength = &recipientSysId.length;
        content.recipientClient = recipientClient.text.data();
        content.recipientClientLength = &recipientClient.length;
        give(content.user, content.userLength, user);
    }
    static void give(const char*& text, const std::uint32_t*& length, Text& from) {
        text = from.text.data();
        length = &from.length;
    }
    void setUser(const std::string& value) {
        user.set(value);
        give(content.user, content.userLength, user);
    }
    void setPortalUser(const std::string& value) {
        portalUser.set(value);
        give(content.portalUser, content.portalUserLength, portalUser);
    }
    void setLanguage(const std::string& value) {
        language.set(value);
        give(content.language, content.languageLength, language);
    }
    void setAuthScheme(const std::string& value) {
        authScheme.set(value);
        give(content.authScheme, content.authSchemeLength, authScheme);
    }
    void setRecipient(const std::string& systemId, const std::string& client) {
        recipientSysId.set(systemId);
        recipientClient.set(client);
        give(content.recipientSysId, content.recipientSysIdLength, recipientSysId);
        give(content.recipientClient, content.recipientClientLength, recipientClient);
    }
    std::int32_t create(std::uint32_t room = 4096) {
        ticketText.assign(room, '\x7E');
        length = room;
        return VorakCreateAssertionTicket(ownSystemId, ownClient, profile, password, &content, ticketText.data(),
                                          &length);
    }
    // What the created ticket holds: "id=contents" of every unit, and its code page.
    std::string created() {
        std::string text = ticketText.substr(0, length);
        std::replace(text.begin(), text.end(), '!', '+');
        DecodedTicket decoded;
        ParsedTicket parsed;
        EXPECT_EQ(decodeTicketText(text, decoded), VORAK_OK);
        EXPECT_EQ(ParseTicket(decoded.bytes(), parsed), VORAK_OK);
        std::string units(parsed.codePage.begin(), parsed.codePage.end());
        for (const ContentNode* node = parsed.contents.first(); node != nullptr; node = node->next) {
            units += " " + std::to_string(node->id) + "=" + std::string(node->bytes().begin(), node->bytes().end());
        }
        return units;
    }

    Text recipientSysId, recipientClient, user, portalUser, language, authScheme;
    AssertionContent content{};
    const char* ownSystemId = "PRT";
    const char* ownClient = "100";
    const char* profile = "store.pse";
    const char* password = "secret";
    std::string ticketText;
    std::uint32_t length = 0;
};

TEST_F(Assertion, WritesEveryUnitInOrderOfItsId) {
    FixedClock::set(1584263100);  // 2020-03-15 09:05 UTC
    setLanguage("E");
    setPortalUser("john");
    setAuthScheme("basic");
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_EQ(created(), std::string("1100 1=JDOE 2=100 3=PRT 4=202003150905 7=\0\0\0\2 8=\1 9=E 15=000 16=SYS "
                                     "32=portal:john 136=basic",
                                     92));
}

TEST_F(Assertion, AClockOutside32BitsCountsAsTheirNearestEnd) {
    FixedClock::set(-1);
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_NE(created().find(" 4=197001010000 "), std::string::npos) << created();
    FixedClock::set(std::time_t{0x100000000} + 86400);
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_NE(created().find(" 4=210602070628 "), std::string::npos) << created();
}

TEST_F(Assertion, ATicketIsEvaluatedByItsRecipientAndByNobodyElse) {
    ASSERT_EQ(create(), VORAK_OK);
    std::string text = ticketText.substr(0, length);
    std::replace(text.begin(), text.end(), '!', '+');
    const auto evaluateAs = [&](const char* systemId, const char* client) {
        FullRecord record;
        return VorakEvalAssertionTicket(text.c_str(), "p", nullptr, systemId, client, &record.info);
    };
    EXPECT_EQ(evaluateAs("SYS", "000"), VORAK_OK);
    EXPECT_EQ(evaluateAs("ABC", "000"), VORAK_NOT_FOR_US);
    EXPECT_EQ(evaluateAs("SYS", "001"), VORAK_NOT_FOR_US);
    FixedClock::set(kNow + 120);
    EXPECT_EQ(evaluateAs("SYS", "000"), VORAK_OK);
    FixedClock::set(kNow + 180);
    EXPECT_EQ(evaluateAs("SYS", "000"), VORAK_TICKET_EXPIRED);
}

TEST_F(Assertion, EveryStepIsTracedAtLevel2) {
    const TraceCapture trace(2);
    setLanguage("E");
    setPortalUser("john");
    setAuthScheme("basic");
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"Write KAV client to ticket 100 ", "Write KAV system Id to ticket PRT ",
                                        "Write ticket creation date 202603150905 ", "Write assertion ticket validity ",
                                        "Write assertion ticket flag ", "Write Recipient client to ticket 000 ",
                                        "Write Recipient system Id to ticket SYS ", "Write user id to ticket JDOE ",
                                        "Write KAV language to ticket E ", "Write portal user id to ticket john ",
                                        "Write authentication schema to ticket basic ",
                                        "Creation of Assertion Ticket was successful."}));
}

TEST_F(Assertion, StepsOfLevel3ShowNoSecret) {
    const TraceCapture trace(3);
    ASSERT_EQ(create(), VORAK_OK);
    for (const char* line :
         {"Initialize variables...", "Preparing InContext...", "Profile (path to key) is the following: store.pse",
          "Password is set (but not displayed here)", "Got the codepage 1100 from input ",
          "Cleanup of VorakCreateAssertionTicket", "End of function VorakCreateAssertionTicket."}) {
        EXPECT_TRUE(hasLine(trace, line)) << line;
    }
    EXPECT_FALSE(trace.contains("secret"));
}

// --- Whose key

TEST_F(Assertion, SignsWithTheProfileAndTheProperties) {
    QuorvantiSetProperty("SSF_HASH", "SHA384");
    QuorvantiSetProperty("SSF_INCLUDE_CERT", "1");
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "id"), "<implicit>");
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "profile"), "store.pse");
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "password"), "secret");
    EXPECT_EQ(crypto.argument("SsfSign", "hash"), "SHA384");
    EXPECT_EQ(crypto.argument("SsfSign", "includeCertificate"), "1");
    QuorvantiSetProperty("SSF_HASH", nullptr);
    QuorvantiSetProperty("SSF_INCLUDE_CERT", nullptr);
    const std::string longName(140, 'p');
    profile = longName.c_str();
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "profile"), std::string(131, 'p'));
    EXPECT_EQ(crypto.argument("SsfSign", "hash"), "SHA1");
}

TEST_F(Assertion, WithoutAProfileTheCachedKeySigns) {
    const TraceCapture trace(3);
    ASSERT_EQ(VorakLoadTicketKey(reinterpret_cast<const std::uint8_t*>("image"), 5, "key password", 0, 0), VORAK_OK);
    for (const char* none : {"", static_cast<const char*>(nullptr)}) {
        profile = none;
        ASSERT_EQ(create(), VORAK_OK);
        EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "profile"), libraryState().ticketKey.profileName);
        EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "password"), "key password");
    }
    EXPECT_TRUE(hasLine(trace, "Profile (path to key) is the following: (NULL)"));
    EXPECT_TRUE(hasLine(trace, std::string("Memory key is used: ") + libraryState().ticketKey.profileName));
    EXPECT_FALSE(trace.contains("key password"));
}

TEST_F(Assertion, AKeyWithoutPasswordSignsWithoutOneAndAProfileGoesBeforeIt) {
    ASSERT_EQ(VorakLoadTicketKey(reinterpret_cast<const std::uint8_t*>("image"), 5, nullptr, 0, 0), VORAK_OK);
    profile = nullptr;
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "profile"), libraryState().ticketKey.profileName);
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "password"), "") << "the one handed in belongs to a profile";
    profile = "store.pse";
    password = nullptr;
    const TraceCapture trace(3);
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "profile"), "store.pse");
    EXPECT_TRUE(hasLine(trace, "Password is null (empty)"));
}

TEST_F(Assertion, AnHmacKeyDoesNotSign) {
    ASSERT_EQ(VorakLoadTicketKey(reinterpret_cast<const std::uint8_t*>("key"), 3, "pw", 0, VORAK_KEY_HMAC), VORAK_OK);
    profile = nullptr;
    password = nullptr;
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "profile"), "");
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "password"), "");
}

// --- Checks

TEST_F(Assertion, EachMissingArgumentHasItsLine) {
    const TraceCapture trace(1);
    EXPECT_EQ(VorakCreateAssertionTicket("A", "1", "p", nullptr, &content, nullptr, &length), VORAK_MISSING_ARGUMENT);
    char buffer[8];
    EXPECT_EQ(VorakCreateAssertionTicket("A", "1", "p", nullptr, &content, buffer, nullptr), VORAK_MISSING_ARGUMENT);
    ownSystemId = nullptr;
    EXPECT_EQ(create(), VORAK_MISSING_ARGUMENT);
    ownClient = nullptr;
    EXPECT_EQ(create(), VORAK_MISSING_ARGUMENT);
    ownSystemId = "A";
    EXPECT_EQ(create(), VORAK_MISSING_ARGUMENT);
    ownClient = "1";
    content.structSize = 151;
    EXPECT_EQ(create(), VORAK_MISSING_ARGUMENT);
    EXPECT_EQ(VorakCreateAssertionTicket("A", "1", "p", nullptr, nullptr, buffer, &length), VORAK_MISSING_ARGUMENT);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => Missing output buffer pointer for ticket [ssoxxext]",
                                        "*** ERROR => Missing output buffer pointer for ticket [ssoxxext]",
                                        "*** ERROR => Missing own system Id information. [ssoxxext]",
                                        "*** ERROR => Missing own system Id information. [ssoxxext]",
                                        "*** ERROR => Missing own system client information. [ssoxxext]",
                                        "*** ERROR => Missing own system client information. [ssoxxext]",
                                        "*** ERROR => Passed ticket content structure not valid. [ssoxxext]",
                                        "*** ERROR => Passed ticket content structure not valid. [ssoxxext]"}));
}

TEST_F(Assertion, TheFirstCheckThatFailsDecidesAndNothingIsWritten) {
    const auto refusal = [this] {
        const TraceCapture trace(1);
        const std::int32_t code = create();
        EXPECT_EQ(ticketText, std::string(ticketText.size(), '\x7E'));
        EXPECT_EQ(length, ticketText.size());
        return std::to_string(code) + " " + trace.lines().front();
    };
    // Everything is wrong, and one thing after the other is put right.
    ownSystemId = "ABCDEFGHI";
    ownClient = "1234";
    content.structSize = 0;
    setUser("");
    setRecipient("", "");
    const TraceCapture trace(1);
    EXPECT_EQ(VorakCreateAssertionTicket(ownSystemId, ownClient, profile, password, &content, nullptr, &length),
              VORAK_MISSING_ARGUMENT);
    EXPECT_EQ(refusal(), "23 *** ERROR => System Id too long [ssoxxext]");
    ownSystemId = "A";
    EXPECT_EQ(refusal(), "23 *** ERROR => System Client too long [ssoxxext]");
    ownClient = "1";
    EXPECT_EQ(refusal(), "15 *** ERROR => Passed ticket content structure not valid. [ssoxxext]");
    content.structSize = sizeof content;
    EXPECT_EQ(refusal(), "1 *** ERROR => No user supplied for ticket creation. [ssoxxext]");
    setUser(std::string(37, 'u'));
    setPortalUser(std::string(257, 'p'));
    EXPECT_EQ(refusal(),
              "1 *** ERROR => KAV user supplied for ticket creation too long, must be at the most 36. [ssoxxext]");
    setUser("u");
    EXPECT_EQ(refusal(),
              "1 *** ERROR => Portal user supplied for ticket creation too long, must be smaller 256. [ssoxxext]");
    setPortalUser("p");
    EXPECT_EQ(refusal(), "23 *** ERROR => Missing recipient System Id information. [ssoxxext]");
    setRecipient("ABCDEFGHI", "1234");
    EXPECT_EQ(refusal(), "23 *** ERROR => Recipient system Id too long [ssoxxext]");
}

TEST_F(Assertion, AnOwnSystemIdOf9CharactersIsRefusedAndOneOf8Accepted) {
    const TraceCapture trace(1);
    ownSystemId = "ABCDEFGH";
    EXPECT_EQ(create(), VORAK_OK);
    ownSystemId = "ABCDEFGHI";
    EXPECT_EQ(create(), VORAK_NOT_FOR_US);
    ownSystemId = "A";
    ownClient = "1234";
    EXPECT_EQ(create(), VORAK_NOT_FOR_US);
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{"*** ERROR => System Id too long [ssoxxext]",
                                                       "*** ERROR => System Client too long [ssoxxext]"}));
}

TEST_F(Assertion, NeedsAUser) {
    const TraceCapture trace(1);
    setUser("");
    EXPECT_EQ(create(), VORAK_NO_USER) << "an empty user is none";
    content.user = nullptr;
    EXPECT_EQ(create(), VORAK_NO_USER);
    content.user = "JDOE";
    content.userLength = nullptr;
    EXPECT_EQ(create(), VORAK_NO_USER) << "a text without its length is none";
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>(3, "*** ERROR => No user supplied for ticket creation. [ssoxxext]"));
    setPortalUser("john");
    EXPECT_EQ(create(), VORAK_OK);
    EXPECT_EQ(created().find(" 1="), std::string::npos);
}

TEST_F(Assertion, AUserOf37BytesIsRefused) {
    const TraceCapture trace(1);
    setUser(std::string(36, 'u'));
    EXPECT_EQ(create(), VORAK_OK);
    setUser(std::string(37, 'u'));
    EXPECT_EQ(create(), VORAK_NO_USER);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"*** ERROR => KAV user supplied for ticket creation too long, "
                                                      "must be at the most 36. [ssoxxext]"});
}

TEST_F(Assertion, APortalUserOf256BytesPassesThoughTheMessageSaysSmaller) {
    const TraceCapture trace(1);
    setPortalUser(std::string(256, 'p'));
    EXPECT_EQ(create(), VORAK_OK);
    setPortalUser(std::string(257, 'p'));
    EXPECT_EQ(create(), VORAK_NO_USER);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"*** ERROR => Portal user supplied for ticket creation too "
                                                      "long, must be smaller 256. [ssoxxext]"});
}

TEST_F(Assertion, APortalUserOf249BytesArrivesAndALongerOneArrivesEmpty) {
    std::memcpy(content.codePage, "4110", 4);
    setPortalUser(std::string(249, 'p'));
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_NE(created().find("32=portal:" + std::string(249, 'p')), std::string::npos);
    for (const char* codePage : {"4110", "1100"}) {
        std::memcpy(content.codePage, codePage, 4);
        setPortalUser(std::string(250, 'p'));
        ASSERT_EQ(create(), VORAK_OK) << codePage;
        EXPECT_TRUE(created().ends_with("32=portal:")) << created();
    }
}

TEST_F(Assertion, APortalUserWhoseFirstByteIs0xFAIsRefusedThoughItIsShort) {
    const TraceCapture trace(1);
    setPortalUser("\xF9");
    EXPECT_EQ(create(), VORAK_OK);
    setPortalUser("\xFA");
    EXPECT_EQ(create(), VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => Portal user size more than allowed. [ssoxxext]",
                                        "*** ERROR => VorakCreateAssertionTicket returns 3. [ssoxxext]"}));
}

TEST_F(Assertion, ALanguageOfTwoCharactersIsRefused) {
    const TraceCapture trace(1);
    setLanguage("EN");
    EXPECT_EQ(create(), VORAK_INVALID);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => KAV language too long [ssoxxext]",
                                        "*** ERROR => VorakCreateAssertionTicket returns 9. [ssoxxext]"}));
}

TEST_F(Assertion, AnAuthenticationSchemeOf257BytesIsRefused) {
    const TraceCapture trace(1);
    setAuthScheme(std::string(256, 's'));
    EXPECT_EQ(create(), VORAK_OK);
    setAuthScheme(std::string(257, 's'));
    EXPECT_EQ(create(), VORAK_BUFFER_TOO_SMALL);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Portal authentication schema size more than allowed. [ssoxxext]"));
}

TEST_F(Assertion, ATextThatGrowsBeyondItsUnitIsRefusedByTheCharacterOfItsId) {
    const TraceCapture trace(1);
    setAuthScheme(std::string(200, '\xFC'));
    EXPECT_EQ(create(), -1);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't create content for Portal authentication schema [ssoxxext]"));
    setAuthScheme("");
    setPortalUser(std::string(200, '\xE4'));
    EXPECT_EQ(create(), -1);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't create item  , rc = 9. [ssoxxext]")) << "0x20 is a blank";
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't create content for Portal user [ssoxxext]"));
}

TEST_F(Assertion, TheRecipientMustBeCompleteAndFit) {
    const TraceCapture trace(1);
    setRecipient("SYS", "");
    EXPECT_EQ(create(), VORAK_NOT_FOR_US);
    setRecipient("", "000");
    EXPECT_EQ(create(), VORAK_NOT_FOR_US);
    setRecipient("", "");
    EXPECT_EQ(create(), VORAK_NOT_FOR_US);
    setRecipient("ABCDEFGHI", "000");
    EXPECT_EQ(create(), VORAK_NOT_FOR_US);
    setRecipient("ABCDEFGH", "0000");
    EXPECT_EQ(create(), VORAK_NOT_FOR_US);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => Missing recipient System Client information. [ssoxxext]",
                                        "*** ERROR => Missing recipient System Id information. [ssoxxext]",
                                        "*** ERROR => Missing recipient System Id information. [ssoxxext]",
                                        "*** ERROR => Missing recipient System Client information. [ssoxxext]",
                                        "*** ERROR => Recipient system Id too long [ssoxxext]",
                                        "*** ERROR => Recipient system client too long [ssoxxext]"}));
}

TEST_F(Assertion, NeedsAnInitializedLibrary) {
    VorakShutdown();
    const TraceCapture trace(1);
    EXPECT_EQ(create(), VORAK_INVALID);
    EXPECT_EQ(length, 4096u) << "nothing is written";
    EXPECT_TRUE(hasLine(trace, "*** ERROR => VorakInitialize must be called first. [ssoxxext]"));
}

// --- Code page

TEST_F(Assertion, ACodePageOfFourBlanksProducesATicketInUtf8) {
    const TraceCapture trace(2);
    std::memcpy(content.codePage, "    ", 4);
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_TRUE(created().starts_with("4110 "));
    EXPECT_TRUE(trace.contains("KAV codepage      is invalid. Use UTF8 for output."));
}

TEST_F(Assertion, WithoutACodePageThePropertyDecides) {
    std::memset(content.codePage, 0, 4);
    QuorvantiSetProperty("KAV_EXT_CODEPAGE", "1160");
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_TRUE(created().starts_with("1160 "));
    QuorvantiSetProperty("KAV_EXT_CODEPAGE", nullptr);
}

TEST_F(Assertion, TextsAreConvertedToUtf8ButTheUserIsNot) {
    setUser("\xFC");
    setPortalUser("\xE4");
    setAuthScheme("\xFC");
    ASSERT_EQ(create(), VORAK_OK);
    EXPECT_NE(created().find(" 1=\xFC "), std::string::npos);
    EXPECT_NE(created().find(" 32=portal:\xC3\xA4 "), std::string::npos);
    EXPECT_NE(created().find(" 136=\xC3\xBC"), std::string::npos);
}

TEST_F(Assertion, AnUnknownCodePageIsNoTicket) {
    const TraceCapture trace(1);
    std::memcpy(content.codePage, "9999", 4);
    EXPECT_EQ(create(), -1);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't create content (recipient client) [ssoxxext]"));
}

// --- The text

TEST_F(Assertion, TheTextNeverHoldsAPlus) {
    bool replaced = false;
    for (int i = 0; i < 64; ++i) {
        setUser(std::string(static_cast<std::size_t>(i % 30 + 1), static_cast<char>(0xF8 + i % 8)));
        ASSERT_EQ(create(), VORAK_OK);
        const std::string text = ticketText.substr(0, length);
        EXPECT_EQ(text.find('+'), std::string::npos);
        replaced = replaced || text.find('!') != std::string::npos;
    }
    EXPECT_TRUE(replaced) << "some of the tickets would hold one";
}

TEST_F(Assertion, ABufferOneByteShorterYields3AndTheLengthStays) {
    ASSERT_EQ(create(), VORAK_OK);
    const std::uint32_t needed = length;
    ASSERT_EQ(create(needed), VORAK_OK);
    const TraceCapture trace(1);
    EXPECT_EQ(create(needed - 1), VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, needed - 1);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => Ticket string too long for output buffer. [ssoxxext]",
                                        "*** ERROR => VorakCreateAssertionTicket returns 3. [ssoxxext]"}));
}

TEST_F(Assertion, ASigningFailureClearsTheOutput) {
    const TraceCapture trace(1);
    crypto->functions["SsfSign"].result = 5;
    crypto->signResult = DoubleSigner{"<implicit>", "cannot", 6, 25, std::nullopt};
    EXPECT_EQ(create(), 25 << 16 | VORAK_INVALID);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(ticketText[0], '\0');
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Ticket creation failed with rc = 1638409. [ssoxxext]"));
    char untouched = '\x7E';
    length = 0;
    EXPECT_NE(VorakCreateAssertionTicket("A", "1", "p", nullptr, &content, &untouched, &length), VORAK_OK);
    EXPECT_EQ(untouched, '\x7E') << "a capacity of 0 is not written to";
}

TEST_F(Assertion, EachOutcomeOfTheWriterHasItsLineAndWhatItLeavesBehind) {
    const TraceCapture trace(2);
    char text[] = "a+b+";
    std::uint32_t room = 3;
    const AssertionRequest request{ownSystemId, ownClient, profile, password, &content, text, &room};
    EXPECT_EQ(handOutTicket(request, VORAK_OK, 4), VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(room, 3u);
    EXPECT_STREQ(text, "a+b+");
    room = 4;
    EXPECT_EQ(handOutTicket(request, VORAK_OK, 4), VORAK_OK);
    EXPECT_EQ(room, 4u);
    EXPECT_STREQ(text, "a!b!");
    EXPECT_EQ(handOutTicket(request, VORAK_ENCODING_FAILED, 0), VORAK_INVALID);
    EXPECT_EQ(room, 0u);
    EXPECT_EQ(text[0], '\0');
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{
                                 "Creation of Assertion Ticket was successful.",
                                 "*** ERROR => Ticket has length 4, but buffer with length 3 provided. [ssoxxext]",
                                 "Creation of Assertion Ticket was successful.",
                                 "*** ERROR => Internal error: Base64 encoding failed. [ssoxxext]"}));
}

class AssertionWithoutSign : public Assertion {
protected:
    AssertionWithoutSign() : Assertion("double_no_sign") {}
};
TEST_F(AssertionWithoutSign, Is13AndNamesWhatIsMissing) {
    const TraceCapture trace(1);
    EXPECT_EQ(create(), VORAK_CRYPTO_FUNCTION_MISSING);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => SsfSign is NULL. [ssoxxsgn]"));
}

}  // namespace
}  // namespace quorvanti

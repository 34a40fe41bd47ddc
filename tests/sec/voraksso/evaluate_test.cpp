#include "sec/voraksso/evaluate.h"

#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/voraksso/state.h"

#include <cstring>
#include <thread>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

using Evaluate = EngineTest;

TicketBuilder everything() {
    return TicketBuilder()
        .user("JDOE    ")
        .client("100")
        .systemId("PRT     ")
        .creation(kNow - 60)
        .validityHours(8)
        .flags(0x00)
        .language("E")
        .portalUser("john.doe ")
        .authScheme("basicauthentication");
}

TEST_F(Evaluate, FillsEveryFieldOfTheRecordRightTrimmed) {
    FullRecord record;
    ASSERT_EQ(evaluate(ticket(everything()), record.info), VORAK_OK);
    EXPECT_EQ(record.user.text(), "JDOE");
    EXPECT_TRUE(record.user.terminated());
    EXPECT_EQ(record.client.text(), "100");
    EXPECT_EQ(record.systemId.text(), "PRT");
    EXPECT_EQ(record.language.text(), "E");
    EXPECT_EQ(record.portalUser.text(), "john.doe");
    EXPECT_EQ(record.authScheme.text(), "basicauthentication");
    EXPECT_EQ(record.creationTime, kNow - 60 + 86400) << "the day of the month counts from one";
    EXPECT_EQ(record.validity, 8 * 3600 - 60);
    EXPECT_EQ(std::string(record.certificate.begin(), record.certificate.begin() + record.certificateCapacity),
              "certificate of the double");
    EXPECT_EQ(record.info.flags, 0u);
    EXPECT_EQ(record.info.assertion_marker, 0);
    EXPECT_TRUE(record.buffersIntact());
}

TEST_F(Evaluate, ATicketWithNothingButItsAgeIsValidAndEverythingElseIsEmpty) {
    FullRecord record;
    ASSERT_EQ(evaluate(ticket(TicketBuilder().creation(kNow).validityHours(1)), record.info), VORAK_OK);
    EXPECT_TRUE(record.user.empty());
    EXPECT_TRUE(record.client.empty());
    EXPECT_TRUE(record.systemId.empty());
    EXPECT_TRUE(record.language.empty());
    EXPECT_TRUE(record.portalUser.empty());
    EXPECT_TRUE(record.authScheme.empty());
    EXPECT_EQ(record.validity, 3600);
}

TEST_F(Evaluate, MissingTextsAreNamedAtLevel3) {
    const TraceCapture trace(3);
    FullRecord record;
    ASSERT_EQ(evaluate(ticket(TicketBuilder().creation(kNow).validityHours(1)), record.info), VORAK_OK);
    for (const char* line :
         {"Ticket contains no user.", "Ticket contains no client.", "Ticket contains no sysid.",
          "Ticket contains no language.", "Ticket contains no Portal User.", "Ticket contains no AuthSchema.",
          "Ticket is without recipient information.", "Validation succeeded.", "Retrieving creation time...",
          "Retrieving validity in seconds...", "Just before Validation...", "Preparing for cleanup.",
          "Profile (path to key) is the following: store.pse", "Password is set (but not displayed here)",
          "Got the codepage 1100 from properties "}) {
        EXPECT_TRUE(hasLine(trace, line)) << line;
    }
    EXPECT_FALSE(trace.contains("secret"));
}

// The lines without those of a dump.
std::vector<std::string> withoutDumps(const TraceCapture& trace) {
    std::vector<std::string> lines = trace.lines();
    std::erase_if(lines, [](const std::string& line) {
        return line.size() > 8 && line.find_first_not_of("0123456789ABCDEF") == 8 && line.substr(8, 2) == "  ";
    });
    return lines;
}

TEST_F(Evaluate, SaysItsStepsInOrder) {
    FullRecord record;
    const std::string text = ticket(TicketBuilder().user("JDOE").creation(kNow).validityHours(1));
    const TraceCapture trace(3);
    ASSERT_EQ(evaluate(text, record.info), VORAK_OK);
    std::vector<std::string> lines = withoutDumps(trace);
    for (std::string& line : lines) {
        if (line.starts_with("Verify returns 0 [")) {
            line.resize(line.find_last_of(' '));  // the number of its line
        }
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"VorakEvalLogonTicketEx was called.",
                                               "Profile (path to key) is the following: store.pse",
                                               "Password is set (but not displayed here)",
                                               "Got the codepage 1100 from properties ",
                                               "Just before Validation...",
                                               "Read version.",
                                               "Read Codepage.",
                                               "Read InfoUnit (0x01).",
                                               "Read length (4).",
                                               "Read contents.",
                                               "Read InfoUnit (0x04).",
                                               "Read length (12).",
                                               "Read contents.",
                                               "Read InfoUnit (0x05).",
                                               "Read length (4).",
                                               "Read contents.",
                                               "Read InfoUnit (0xFF).",
                                               "Argument Dump for ticket verification:",
                                               "Content byte stream:",
                                               "Signature byte stream:",
                                               "Encoded content byte stream:",
                                               "Verify returns 0 [sec/voraksso/ssoxxsgn",
                                               "Certificate is: ",
                                               "Convert ticket content from KAV_CODEPAGE >4110< to >1100< ",
                                               "Got date 202603150905 from ticket.",
                                               "Cur time = 202603150905.",
                                               "Computing validity in hours.",
                                               "CurTime_t = 1773651900, CreTime_t = 1773651900 ",
                                               "validity: 3600, difference:      0.000.",
                                               "Validation succeeded.",
                                               "Ticket is without recipient information.",
                                               "Retrieving creation time...",
                                               "Retrieving validity in seconds...",
                                               "Evaluating certificate with length 25",
                                               "Ticket contains no client.",
                                               "Ticket contains no sysid.",
                                               "Ticket contains no language.",
                                               "Ticket contains no Portal User.",
                                               "Ticket contains no AuthSchema.",
                                               "Preparing for cleanup.",
                                               "End of function VorakEvalLogonTicketEx."}));
}

TEST_F(Evaluate, SaysAtLevel2WhatItDecidesAndNoMore) {
    FullRecord record;
    const std::string text = ticket(TicketBuilder().user("JDOE").creation(kNow).validityHours(1));
    const TraceCapture trace(2);
    ASSERT_EQ(evaluate(text, record.info), VORAK_OK);
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{
                                 "Convert ticket content from KAV_CODEPAGE >4110< to >1100< ",
                                 "Got date 202603150905 from ticket.", "Cur time = 202603150905.",
                                 "Computing validity in hours.", "CurTime_t = 1773651900, CreTime_t = 1773651900 ",
                                 "validity: 3600, difference:      0.000.", "Evaluating certificate with length 25"}));
}

TEST_F(Evaluate, NoTicketAndNoSecretIsWrittenBelowLevel3) {
    const std::string text = ticket(everything());
    const TraceCapture trace(2);
    FullRecord accepted;
    EXPECT_EQ(evaluate(text, accepted.info), VORAK_OK);
    FixedClock::set(kNow + 9 * 3600);
    FullRecord expired;
    EXPECT_EQ(evaluate(text, expired.info), VORAK_TICKET_EXPIRED);
    crypto->functions["SsfVerify"].result = 5;
    for (const bool certificate : {true, false}) {
        crypto->signers[0] = {"CN=Somebody", "who", 6, 22, std::nullopt};
        if (certificate) {
            crypto->signers[0].certificate = "certificate";
        }
        FullRecord refused;
        EXPECT_EQ(evaluate(text, refused.info), 22 << 16 | 5);
    }
    EXPECT_EQ(withoutDumps(trace), trace.lines()) << "no dump";
    EXPECT_FALSE(trace.contains(text.substr(0, 40)));
    EXPECT_FALSE(trace.contains("secret"));
}

TEST_F(Evaluate, WithoutAProfileTheCachedKeyIsUsed) {
    const TraceCapture trace(3);
    ASSERT_EQ(VorakLoadTicketKey(reinterpret_cast<const std::uint8_t*>("image"), 5, "key-password", 0, VORAK_KEY_STORE),
              VORAK_OK);
    const std::string text = ticket(everything());
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        FullRecord record;
        EXPECT_EQ(VorakEvalLogonTicketEx(text.c_str(), none, "ignored", nullptr, nullptr, &record.info), VORAK_OK);
        EXPECT_EQ(crypto.argument("SsfVerify", "profile"), libraryState().ticketKey.pseName);
        EXPECT_EQ(crypto.argument("SsfVerify", "password"), "key-password");
        crypto->functions.erase("SsfVerify");
    }
    EXPECT_FALSE(trace.contains("key-password"));
}

TEST_F(Evaluate, WithoutProfileAndKeyTheTraceSaysSo) {
    const TraceCapture trace(3);
    FullRecord record;
    const std::string text = ticket(everything());
    EXPECT_EQ(VorakEvalLogonTicketEx(text.c_str(), "", nullptr, nullptr, nullptr, &record.info), VORAK_OK);
    EXPECT_TRUE(hasLine(trace, "Profile (path to key) is the following: (NULL)"));
    EXPECT_TRUE(hasLine(trace, "Password is null (empty)"));
}

TEST_F(Evaluate, IsVerifiedAsPkcs7WithoutAPasswordWhenThatIsEmpty) {
    const TraceCapture trace(3);
    FullRecord record;
    const std::string text = ticket(everything());
    EXPECT_EQ(VorakEvalLogonTicketEx(text.c_str(), "store.pse", "", nullptr, nullptr, &record.info), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfEncode", "format"), "PKCS7");
    EXPECT_EQ(crypto.argument("SsfVerify", "format"), "PKCS7");
    EXPECT_TRUE(hasLine(trace, "Password is null (empty)"));
}

TEST_F(Evaluate, AProfileLosesTrailingBlanksAndIsCutAt132Characters) {
    FullRecord record;
    const std::string text = ticket(everything());
    const auto profile = [&](const std::string& name) {
        VorakEvalLogonTicketEx(text.c_str(), name.c_str(), "pw ", nullptr, nullptr, &record.info);
        return crypto.argument("SsfVerify", "profile");
    };
    EXPECT_EQ(profile("store.pse   "), "store.pse");
    EXPECT_EQ(crypto.argument("SsfVerify", "password"), "pw ") << "a password keeps its blanks";
    EXPECT_EQ(profile(std::string(140, 'p')), std::string(132, 'p'));
}

// --- The record

TEST_F(Evaluate, AnswersEachWrongRecordWithItsLine) {
    const TraceCapture trace(1);
    const std::string text = ticket(everything());
    EXPECT_EQ(VorakEvalTicket(text.c_str(), 10, nullptr), VORAK_INVALID);
    TICKET_INFO info{};
    info.assertion_marker = 77;
    EXPECT_EQ(evaluate(text, info), VORAK_INVALID);
    info.struct_size = 120;
    EXPECT_EQ(evaluate(text, info), VORAK_INVALID);
    EXPECT_EQ(info.assertion_marker, 77) << "a record that was not accepted is not touched";
    const std::vector<std::string> lines = trace.lines();
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Ticket info structure is null [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace,
                        "*** ERROR => Initialize field struct_size in your structure of "
                        "TICKET_INFO->struct_size with sizeof(TICKET_INFO) [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace,
                        "*** ERROR => Current structure size of TICKET_INFO->struct_size is 120 but must be at "
                        "least 128 [ssoxxext]"));
}

class RecordSize : public Evaluate, public ::testing::WithParamInterface<std::uint32_t> {};
TEST_P(RecordSize, DecidesWhatIsTouched) {
    const std::uint32_t size = GetParam();
    FullRecord record;
    const TICKET_INFO before = record.info;
    record.info.struct_size = size;
    ASSERT_EQ(evaluate(ticket(everything().flags(0x03)), record.info), VORAK_OK);
    EXPECT_EQ(record.user.text(), "JDOE");
    EXPECT_EQ(record.portalUser.text(), "john.doe");
    EXPECT_EQ(record.authScheme.capacity != 64, size >= 128);
    EXPECT_EQ(record.certificateCapacity != 64, size > 144);
    EXPECT_EQ(record.info.flags, size >= 148 ? 3u : before.flags);
    EXPECT_EQ(record.info.assertion_marker, 77) << "left alone: the flag of an assertion ticket is set";

    record.info.struct_size = size;
    EXPECT_EQ(evaluate("AAAA", record.info), VORAK_MALFORMED);
    EXPECT_EQ(record.info.assertion_marker, size >= 152 ? -1 : 77);
    EXPECT_EQ(record.info.flags, size >= 148 ? 0u : before.flags);
}
INSTANTIATE_TEST_SUITE_P(Sizes, RecordSize,
                         ::testing::Values(121U, 127U, 128U, 144U, 145U, 147U, 148U, 149U, 151U, 152U, 200U));

TEST_F(Evaluate, OutputsThatAreNotWantedAreSkipped) {
    TICKET_INFO info{};
    info.struct_size = sizeof info;
    EXPECT_EQ(evaluate(ticket(everything()), info), VORAK_OK);
    FullRecord record;
    record.info.user = nullptr;
    record.info.client_capacity = nullptr;
    EXPECT_EQ(evaluate(ticket(everything()), record.info), VORAK_OK);
    EXPECT_EQ(record.user.capacity, 64u);
}

TEST_F(Evaluate, APairThatIsNotWholeIsLeftAloneOnFailureToo) {
    FullRecord record;
    record.info.user = nullptr;
    record.info.client_capacity = nullptr;
    record.info.certificate = nullptr;
    std::uint32_t length = 77;
    EXPECT_EQ(VorakEvalLogonTicketEx("AAAA", "p", nullptr, nullptr, &length, &record.info), VORAK_MALFORMED);
    EXPECT_EQ(record.user.capacity, 64u);
    EXPECT_EQ(record.client.data()[0], '\x7E');
    EXPECT_EQ(record.certificateCapacity, 64u);
    EXPECT_EQ(length, 77u);
}

// --- The text

std::string ofLength(std::size_t length) {
    // A unit that is not evaluated fills the ticket up.
    for (std::size_t filler = 0;; ++filler) {
        TicketBuilder builder = everything();
        std::size_t left = filler;
        while (left > 0) {
            const std::size_t now = std::min<std::size_t>(left, 256);
            builder.unit(0x70, std::string(now, 'f'));
            left -= now;
        }
        const std::string text = ticketText(builder.signedBytes(), bytesOf("signature"));
        if (text.size() >= length) {
            return text;
        }
    }
}

TEST_F(Evaluate, ATicketOf4095CharactersIsEvaluatedAndOneOf4096Refused) {
    const TraceCapture trace(1);
    std::string text = ofLength(4096);
    ASSERT_EQ(text.size(), 4096u);
    FullRecord record;
    EXPECT_EQ(evaluate(text, record.info), VORAK_INVALID);
    EXPECT_TRUE(record.cleared());
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Ticket too long: 4096, which exceeds 4095 [ssoxxext]"));
    text = ofLength(4092);
    ASSERT_EQ(text.size(), 4092u);
    text += "AAA";
    FullRecord again;
    EXPECT_EQ(evaluate(text, again.info), VORAK_OK) << "a length that is no multiple of four is decoded all the same";
}

TEST_F(Evaluate, WithoutInitializationEverythingIsRefused) {
    VorakShutdown();
    const TraceCapture trace(1);
    FullRecord record;
    EXPECT_EQ(evaluate(ticket(everything()), record.info), VORAK_INVALID);
    EXPECT_TRUE(record.cleared());
    EXPECT_TRUE(hasLine(trace, "*** ERROR => VorakInitialize must be called first. [ssoxxext]"));
    FullRecord tooLong;
    EXPECT_EQ(evaluate(std::string(4096, 'A'), tooLong.info), VORAK_INVALID);
    EXPECT_TRUE(trace.contains("*** ERROR => Ticket too long: 4096")) << "the length is checked before";
}

TEST_F(Evaluate, WhatIsNoTicketIsRefused) {
    FullRecord record;
    EXPECT_EQ(evaluate("", record.info), VORAK_NOT_BASE64);
    EXPECT_EQ(evaluate("AAA", record.info), VORAK_NOT_BASE64);
    EXPECT_EQ(evaluate("not base64 at all", record.info), VORAK_NOT_BASE64);
    EXPECT_EQ(evaluate("AAAA", record.info), VORAK_MALFORMED);
    EXPECT_TRUE(record.cleared());
    EXPECT_EQ(crypto.calls("SsfVerify"), 0);
}

TEST_F(Evaluate, ASignatureThatIsLongerThanTheTicketIsMalformed) {
    Bytes bytes = everything().signedBytes();
    bytes.insert(bytes.end(), {0xFF, 0x00, 0x09, 's', 'i', 'g'});
    FullRecord record;
    EXPECT_EQ(evaluate(base64(bytes), record.info), VORAK_MALFORMED);
    EXPECT_EQ(crypto.calls("SsfVerify"), 0);
}

// --- Code pages

TEST_F(Evaluate, TheRecordsCodePageComesBeforeTheProperty) {
    const TraceCapture trace(3);
    FullRecord record;
    std::memcpy(record.info.code_page, "1100", 4);
    ASSERT_EQ(evaluate(ticket(everything().user("Gr\xC3\xBC\xC3\x9F")), record.info), VORAK_OK);
    EXPECT_EQ(record.user.text(), "Gr\xFC\xDF");
    EXPECT_TRUE(hasLine(trace, "Got the codepage 1100 from input "));
}

TEST_F(Evaluate, ThePropertyDecidesWhenTheRecordSaysNothing) {
    QuorvantiSetProperty("KAV_EXT_CODEPAGE", "4110");
    FullRecord record;
    std::memcpy(record.info.code_page, "\0xyz", 4);
    ASSERT_EQ(evaluate(ticket(everything().user("Gr\xC3\xBC\xC3\x9F")), record.info), VORAK_OK);
    EXPECT_EQ(record.user.text(), "Gr\xC3\xBC\xC3\x9F");
    QuorvantiSetProperty("KAV_EXT_CODEPAGE", nullptr);
}

TEST_F(Evaluate, ACodePageOfBlanksOrZerosGivesUtf8) {
    for (const char* codePage : {"0000", "    "}) {
        const TraceCapture trace(2);
        FullRecord record;
        std::memcpy(record.info.code_page, codePage, 4);
        ASSERT_EQ(evaluate(ticket(everything().user("Gr\xC3\xBC\xC3\x9F")), record.info), VORAK_OK);
        EXPECT_EQ(record.user.text(), "Gr\xC3\xBC\xC3\x9F");
        EXPECT_TRUE(trace.contains(std::string("KAV codepage ") + codePage + " is invalid. Use UTF8 for output."));
    }
}

TEST_F(Evaluate, AnUnknownCodePageIsAConversionFailure) {
    const TraceCapture trace(1);
    FullRecord record;
    std::memcpy(record.info.code_page, "9999", 4);
    EXPECT_EQ(evaluate(ticket(everything()), record.info), VORAK_INVALID);
    EXPECT_TRUE(record.cleared());
    EXPECT_TRUE(trace.contains("*** ERROR => ConvertCList returns 9. [sec/voraksso/ssoxxext "));
}

TEST_F(Evaluate, WideOutputCodePagesMakeTheCreationTimeTooLong) {
    for (const char* codePage : {"4100", "4101", "4102", "4103", "4104", "4105"}) {
        FullRecord record;
        std::memcpy(record.info.code_page, codePage, 4);
        EXPECT_EQ(evaluate(ticket(everything()), record.info), VORAK_MALFORMED) << codePage;
    }
}

// --- Signature and age

TEST_F(Evaluate, ARefusedSignatureIsReportedWithBothCodes) {
    const TraceCapture trace(1);
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 22;
    FullRecord record;
    EXPECT_EQ(evaluate(ticket(everything()), record.info), 22 << 16 | 5);
    EXPECT_TRUE(record.cleared());
    EXPECT_TRUE(hasLine(trace, "*** ERROR => ValidateTicket failed with rc = 5 and ssf_rc = 22. [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Validate ticket failed with rc=1441797. [ssoxxext]"));
}

TEST_F(Evaluate, AnExpiredTicketYields4AndNothingElse) {
    const TraceCapture trace(1);
    FullRecord record;
    FixedClock::set(kNow + 9 * 3600);
    EXPECT_EQ(evaluate(ticket(everything()), record.info), VORAK_TICKET_EXPIRED);
    EXPECT_TRUE(record.cleared());
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Validation succeeded, but ticket expired. [ssoxxext]"));
}

TEST_F(Evaluate, TheSignatureIsCheckedBeforeTheAge) {
    crypto->functions["SsfVerify"].result = 5;
    FixedClock::set(kNow + 9 * 3600);
    FullRecord record;
    EXPECT_NE(evaluate(ticket(everything()), record.info), VORAK_TICKET_EXPIRED);
}

TEST_F(Evaluate, ACreationTimeThatIsNoDateIsMalformed) {
    FullRecord record;
    for (const char* time : {"202613010000", "20261301000", "2026-1-1 0:0", ""}) {
        EXPECT_EQ(evaluate(ticket(TicketBuilder().creation(time).validityHours(1)), record.info), VORAK_MALFORMED)
            << time;
    }
}

// --- Buffers

struct Buffer {
    const char* name;
    TextBuffer FullRecord::*buffer;
    std::uint32_t needed;
    std::int32_t code;
    const char* line;
};
void PrintTo(const Buffer& buffer, std::ostream* stream) {
    *stream << buffer.name;
}

class TooSmall : public Evaluate, public ::testing::WithParamInterface<Buffer> {};
TEST_P(TooSmall, KeepsTheNeededLengthAndClearsEverythingElse) {
    const Buffer& row = GetParam();
    for (const std::uint32_t size : {row.needed - 1, 0U}) {
        const TraceCapture trace(1);
        FullRecord record;
        (record.*row.buffer).capacity = size;
        EXPECT_EQ(evaluate(ticket(everything()), record.info), row.code);
        EXPECT_EQ((record.*row.buffer).capacity, row.needed);
        EXPECT_EQ((record.*row.buffer).data()[0], size > 0 ? '\0' : '\x7E') << "a buffer without room is not touched";
        (record.*row.buffer).data()[0] = '\0';
        (record.*row.buffer).capacity = 0;
        EXPECT_TRUE(record.cleared());
        EXPECT_TRUE(hasLine(trace, std::string("*** ERROR => ") + row.line + " [ssoxxext]"));
        EXPECT_TRUE(
            hasLine(trace, "*** ERROR => VorakEvalLogonTicketEx returns " + std::to_string(row.code) + ". [ssoxxext]"));
    }
}
TEST_P(TooSmall, ExactlyEnoughIsEnough) {
    const Buffer& row = GetParam();
    FullRecord record;
    (record.*row.buffer).capacity = row.needed;
    (record.*row.buffer).data()[row.needed] = '\x55';
    EXPECT_EQ(evaluate(ticket(everything()), record.info), VORAK_OK);
    EXPECT_EQ((record.*row.buffer).data()[row.needed], '\x55');
}
INSTANTIATE_TEST_SUITE_P(
    Buffers, TooSmall,
    ::testing::Values(
        Buffer{"user", &FullRecord::user, 8, VORAK_USER_BUFFER_TOO_SMALL, "Buffer for User not sufficient."},
        Buffer{"client", &FullRecord::client, 3, VORAK_BUFFER_TOO_SMALL, "Buffer for client not sufficient."},
        Buffer{"systemId", &FullRecord::systemId, 8, VORAK_BUFFER_TOO_SMALL, "Buffer for sysid not sufficient."},
        Buffer{"language", &FullRecord::language, 1, VORAK_BUFFER_TOO_SMALL, "Buffer for language not sufficient."},
        Buffer{"portalUser", &FullRecord::portalUser, 9, VORAK_BUFFER_TOO_SMALL,
               "Buffer for Portal User not sufficient."},
        Buffer{"authScheme", &FullRecord::authScheme, 19, VORAK_BUFFER_TOO_SMALL,
               "Buffer for AuthSchema not sufficient."}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(Evaluate, ACertificateBufferThatIsTooSmallKeepsTheNeededLength) {
    const TraceCapture trace(1);
    FullRecord record;
    record.certificateCapacity = 24;
    EXPECT_EQ(evaluate(ticket(everything()), record.info), VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(record.certificateCapacity, 25u);
    record.certificateCapacity = 0;
    EXPECT_TRUE(record.cleared());
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Buffer for cert not sufficient [ssoxxext]"));
}

TEST_F(Evaluate, TheEntryPointsCertificateBufferIsFilledAndClearedToo) {
    const std::string text = ticket(everything());
    std::uint8_t certificate[64];
    std::uint32_t length = sizeof certificate;
    FullRecord record;
    const TraceCapture trace(2);
    EXPECT_EQ(VorakEvalLogonTicketEx(text.c_str(), "p", nullptr, certificate, &length, &record.info), VORAK_OK);
    EXPECT_EQ(length, 25u);
    EXPECT_TRUE(hasLine(trace, "Evaluating certificate with length 25"));
    EXPECT_EQ(VorakEvalLogonTicketEx("AAAA", "p", nullptr, certificate, &length, &record.info), VORAK_MALFORMED);
    EXPECT_EQ(length, 0u);
    length = 10;
    FullRecord again;
    EXPECT_EQ(VorakEvalLogonTicketEx(text.c_str(), "p", nullptr, certificate, &length, &again.info),
              VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 25u);
    EXPECT_TRUE(again.cleared()) << "the record's own certificate as well";
}

TEST_F(Evaluate, ATextEndsAtItsFirstZeroByte) {
    FullRecord record;
    ASSERT_EQ(
        evaluate(ticket(TicketBuilder().unit(0x88, std::string_view("one  \0two", 9)).creation(kNow).validityHours(1)),
                 record.info),
        VORAK_OK);
    EXPECT_EQ(record.authScheme.text(), "one");
}

TEST_F(Evaluate, TheLowestPortalUnitIsTakenWhateverItsPrefix) {
    FullRecord record;
    ASSERT_EQ(evaluate(ticket(everything().unit(0x3F, "portal:last").unit(0x1F, "portal:no").unit(0x40, "portal:no")),
                       record.info),
              VORAK_OK);
    EXPECT_EQ(record.portalUser.text(), "john.doe");
    FullRecord other;
    ASSERT_EQ(
        evaluate(
            ticket(
                TicketBuilder().creation(kNow).validityHours(1).unit(0x3F, "portal:last").unit(0x21, "PORTAL:first")),
            other.info),
        VORAK_OK);
    EXPECT_EQ(other.portalUser.text(), "first");
    FullRecord foreign;
    ASSERT_EQ(
        evaluate(ticket(TicketBuilder().creation(kNow).validityHours(1).unit(0x20, "gateway-user")), foreign.info),
        VORAK_OK);
    EXPECT_EQ(foreign.portalUser.text(), "-user") << "another prefix is not refused";
    FullRecord brief;
    ASSERT_EQ(evaluate(ticket(TicketBuilder().creation(kNow).validityHours(1).unit(0x20, "portal")), brief.info),
              VORAK_OK);
    EXPECT_TRUE(brief.portalUser.empty());
}

TEST_F(Evaluate, SixteenThreadsEvaluateSetPropertiesAndSwitchTheTraceAtOnce) {
    const TemporaryDirectory directory;
    const std::string text = ticket(everything());
    std::vector<std::thread> threads;
    std::atomic<int> accepted{0};
    constexpr int kRounds = 200;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&, i] {
            const std::string file = directory.file("trace" + std::to_string(i));
            for (int round = 0; round < kRounds; ++round) {
                if (i % 4 == 3) {
                    QuorvantiSetProperty("KAV_EXT_TRL", round % 2 == 0 ? "3" : "0");
                    QuorvantiSetProperty("KAV_EXT_TRC", round % 3 == 0 ? nullptr : file.c_str());
                    QuorvantiSetProperty("KAV_EXT_CODEPAGE", round % 2 == 0 ? "4110" : "1100");
                    QuorvantiGetProperty("KAV_EXT_SYSID");
                    continue;
                }
                FullRecord record;
                accepted += evaluate(text, record.info) == VORAK_OK && record.user.text() == "JDOE" ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(accepted, 12 * kRounds);
    EXPECT_EQ(crypto.overlappingCalls(), 0) << "calls into the crypto library are serialised";
}

}  // namespace
}  // namespace quorvanti

#include "sec/voraksso/ticket_codec.h"

#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/voraksso/base64.h"
#include "sec/voraksso/state.h"

namespace quorvanti {
namespace {

using namespace quorvanti::test;

Bytes unitBytes(std::uint8_t id, std::uint16_t length, std::string_view contents) {
    Bytes bytes{id, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)};
    const Bytes text = bytesOf(contents);
    bytes.insert(bytes.end(), text.begin(), text.end());
    return bytes;
}

Bytes withHeader(std::initializer_list<Bytes> parts) {
    Bytes bytes = bytesOf(
        "\x02"
        "1100");
    for (const Bytes& part : parts) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

std::int32_t parse(const Bytes& bytes) {
    ParsedTicket ticket;
    const std::int32_t code = ParseTicket(bytes, ticket);
    EXPECT_EQ(ticket.contents.empty(), code != VORAK_OK) << "a failure leaves no contents";
    return code;
}

const Bytes kUser = unitBytes(1, 4, "user");
const Bytes kEnd{0xFF};

TEST(ParseTicket, TakesTheUnitsTheCodePageAndTheCountOfBytes) {
    const Bytes bytes = withHeader({kUser, unitBytes(0x88, 0, ""), kEnd, bytesOf("rest")});
    ParsedTicket ticket;
    ASSERT_EQ(ParseTicket(bytes, ticket), VORAK_OK);
    EXPECT_EQ(std::string(ticket.codePage.begin(), ticket.codePage.end()), "1100");
    EXPECT_EQ(ticket.processed, bytes.size() - 4);
    ASSERT_NE(ticket.contents.find(1), nullptr);
    EXPECT_EQ(ticket.contents.find(1)->length, 4);
    ASSERT_NE(ticket.contents.find(0x88), nullptr);
    EXPECT_EQ(ticket.contents.find(0x88)->length, 0);
}

TEST(ParseTicket, AcceptsAnyVersionAndKeepsUnknownUnits) {
    Bytes bytes = withHeader({unitBytes(0x77, 2, "ab"), kEnd});
    bytes[0] = 0xC9;
    ParsedTicket ticket;
    EXPECT_EQ(ParseTicket(bytes, ticket), VORAK_OK);
    EXPECT_NE(ticket.contents.find(0x77), nullptr);
}

TEST(ParseTicket, OfTwoUnitsWithTheSameIdALookupReturnsTheLaterOne) {
    ParsedTicket ticket;
    ASSERT_EQ(ParseTicket(withHeader({kUser, unitBytes(1, 5, "later"), kEnd}), ticket), VORAK_OK);
    EXPECT_EQ(ticket.contents.find(1)->length, 5);
}

TEST(ParseTicket, EveryTruncationIsMalformed) {
    const Bytes whole = withHeader({kUser, unitBytes(2, 3, "000"), kEnd});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(parse(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))), VORAK_MALFORMED)
            << length;
    }
    EXPECT_EQ(parse(whole), VORAK_OK);
}

TEST(ParseTicket, ATicketThatEndsRightAfterAUnitIsMalformed) {
    EXPECT_EQ(parse(withHeader({kUser})), VORAK_MALFORMED);
}

TEST(ParseTicket, ATicketWhoseFirstUnitIsTheSignatureHasNoContents) {
    const TraceCapture trace(1);
    EXPECT_EQ(parse(withHeader({kEnd})), VORAK_MALFORMED);
    ASSERT_EQ(trace.lines().size(), 1u);
    EXPECT_TRUE(trace.contains("*** ERROR => ParseTicket: No ticket contents [sec/voraksso/ssoxxapi "));
}

TEST(ParseTicket, AUnitOf256BytesPassesAndOneOf257IsRefused) {
    const TraceCapture trace(1);
    EXPECT_EQ(parse(withHeader({unitBytes(1, 256, std::string(256, 'u')), kEnd})), VORAK_OK);
    EXPECT_EQ(parse(withHeader({unitBytes(1, 257, std::string(257, 'u')), kEnd})), VORAK_INVALID);
    ASSERT_EQ(trace.lines().size(), 1u);
    EXPECT_TRUE(trace.contains("*** ERROR => ParseTicket: Invalid content [sec/voraksso/ssoxxapi "));
}

TEST(ParseTicket, AUnitThatRunsPastTheEndIsMalformed) {
    EXPECT_EQ(parse(withHeader({unitBytes(1, 6, "user"), kEnd})), VORAK_MALFORMED);
}

TEST(ParseTicket, ANegativeLengthIsNoTruncationButTooLong) {
    EXPECT_EQ(parse(withHeader({unitBytes(1, 0x8000, "user"), kEnd})), VORAK_INVALID);
    EXPECT_EQ(parse(withHeader({unitBytes(1, 0xFFFF, "user"), kEnd})), VORAK_INVALID);
}

TEST(ParseTicket, TracesItsSteps) {
    const TraceCapture trace(3);
    parse(withHeader({kUser, kEnd}));
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{"Read version.", "Read Codepage.", "Read InfoUnit (0x01).",
                                                       "Read length (4).", "Read contents.", "Read InfoUnit (0xFF)."}));
}

TEST(DecodeTicketText, SaysWhyATextIsNoBase64) {
    const TraceCapture trace(1);
    DecodedTicket ticket;
    EXPECT_EQ(decodeTicketText("AAA", ticket), VORAK_NOT_BASE64);
    EXPECT_EQ(decodeTicketText("AAAA AAA", ticket), VORAK_NOT_BASE64);
    EXPECT_EQ(decodeTicketText("AAAA\nAAA", ticket), VORAK_NOT_BASE64);
    EXPECT_EQ(decodeTicketText("AAAA!AAA", ticket), VORAK_NOT_BASE64);
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{"*** ERROR => DecodeB64len returns 1. iDecLength=0 [ssoxxapi]",
                                                       "*** ERROR => Decodeb64 returns 3. iDecLength=6 [ssoxxapi]",
                                                       "*** ERROR => Decodeb64 returns 3. iDecLength=6 [ssoxxapi]",
                                                       "*** ERROR => Decodeb64 returns 3. iDecLength=6 [ssoxxapi]"}));
}

TEST(DecodeTicketText, RefusesWhatATicketCannotHold) {
    const TraceCapture trace(1);
    DecodedTicket ticket;
    EXPECT_EQ(decodeTicketText(std::string(5461, 'A'), ticket), VORAK_OK);
    EXPECT_EQ(ticket.length, 4096u);
    EXPECT_EQ(decodeTicketText(std::string(5462, 'A'), ticket), VORAK_NOT_BASE64);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{"*** ERROR => DecodeB64len returns 1. iDecLength=4097 [ssoxxapi]"});
}

TEST(LocateSignature, FindsTheSignedBytesAndTheSignature) {
    const Bytes bytes = withHeader({kUser, kEnd, {0, 3}, bytesOf("sig"), bytesOf("behind")});
    SignedParts parts;
    ASSERT_EQ(locateSignature(bytes, 13, parts), VORAK_OK);
    EXPECT_EQ(Bytes(parts.content.begin(), parts.content.end()), withHeader({kUser}));
    EXPECT_EQ(Bytes(parts.signature.begin(), parts.signature.end()), bytesOf("sig"));
}

TEST(LocateSignature, RefusesALengthOfZeroOrMoreThan4096OrMoreThanThereIs) {
    const TraceCapture trace(1);
    SignedParts parts;
    const auto locate = [&](const Bytes& length, std::size_t room) {
        return locateSignature(withHeader({kUser, kEnd, length, Bytes(room, 0)}), 13, parts);
    };
    EXPECT_EQ(locate({0, 0}, 5000), VORAK_MALFORMED);
    EXPECT_EQ(locate({0x10, 0x01}, 5000), VORAK_MALFORMED);
    EXPECT_EQ(locate({0x80, 0x00}, 5000), VORAK_MALFORMED);
    EXPECT_EQ(locate({0, 5}, 4), VORAK_MALFORMED);
    EXPECT_EQ(locate({}, 0), VORAK_MALFORMED);
    EXPECT_EQ(locate({}, 1), VORAK_MALFORMED);
    EXPECT_EQ(locate({0x10, 0x00}, 5000), VORAK_OK);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => No or invalid signature. Length: 0  [ssoxxapi]",
                                        "*** ERROR => No or invalid signature. Length: 4097  [ssoxxapi]",
                                        "*** ERROR => No or invalid signature. Length: -32768  [ssoxxapi]",
                                        "*** ERROR => No or invalid signature. Length: 5  [ssoxxapi]",
                                        "*** ERROR => No or invalid signature. Length: 0  [ssoxxapi]",
                                        "*** ERROR => No or invalid signature. Length: 0  [ssoxxapi]"}));
}

TEST(LocateSignature, RefusesSignedBytesThatCannotBe) {
    const TraceCapture trace(1);
    SignedParts parts;
    const Bytes bytes(6000, 1);
    EXPECT_EQ(locateSignature(bytes, 4098, parts), VORAK_MALFORMED);
    EXPECT_EQ(locateSignature(bytes, 1, parts), VORAK_MALFORMED);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"*** ERROR => Invalid parser state. Processed bytes: 4098  [ssoxxapi]",
                                        "*** ERROR => Invalid parser state. Processed bytes: 1  [ssoxxapi]"}));
}

TEST(LocateSignature, TakesUpTo4096SignedBytes) {
    Bytes bytes(4200, 1);
    bytes[4097] = 0;  // the signature's length: 1
    SignedParts parts;
    ASSERT_EQ(locateSignature(bytes, 4097, parts), VORAK_OK);
    EXPECT_EQ(parts.content.size(), 4096u);
    EXPECT_EQ(parts.signature.size(), 1u);
}

class WriteTicketTest : public EngineTest {
protected:
    WriteTicketTest() {
        context.cryptoTable = &libraryState().cryptoTable;
        context.Format.assign(kTicketFormat);
        context.hashAlgorithm.assign("SHA256  ");
        context.signerId.assign("<implicit>");
        context.signingProfile.assign("store.pse ");
        context.password = "secret ";
    }
    void add(std::uint32_t id, const std::string& unit) {
        std::unique_ptr<ContentNode> node;
        ASSERT_EQ(NewContentNode(reinterpret_cast<const std::uint8_t*>(unit.data()), unit.size(), id, node), VORAK_OK);
        ASSERT_EQ(AddContentNode(&contents, node), VORAK_OK);
    }
    std::int32_t write(std::size_t room) {
        text.assign(room, '\x7E');
        length = 0;
        return WriteTicket(codePage, contents, context, text, &length);
    }

    InContext context;
    ContentList contents;
    std::string codePage = "4110";
    std::string text;
    std::uint32_t length = 0;
};

TEST_F(WriteTicketTest, RoundTripYieldsTheSameUnitsInIdOrderTheCodePageAndVersion2) {
    add(9, "E");
    add(1, "user");
    add(2, "000");
    ASSERT_EQ(write(4096), VORAK_OK);
    EXPECT_EQ(text.substr(length), std::string(4096 - length, '\0')) << "the buffer is cleared behind the text";

    DecodedTicket decoded;
    ASSERT_EQ(decodeTicketText(std::string_view(text).substr(0, length), decoded), VORAK_OK);
    EXPECT_EQ(decoded.storage[0], 2);
    ParsedTicket ticket;
    ASSERT_EQ(ParseTicket(decoded.bytes(), ticket), VORAK_OK);
    EXPECT_EQ(std::string(ticket.codePage.begin(), ticket.codePage.end()), "4110");
    std::string units;
    for (const ContentNode* node = ticket.contents.first(); node != nullptr; node = node->next) {
        units += std::to_string(node->id) + std::string(node->bytes().begin(), node->bytes().end()) + " ";
    }
    EXPECT_EQ(units, "1user 2000 9E ");
    SignedParts parts;
    ASSERT_EQ(locateSignature(decoded.bytes(), ticket.processed, parts), VORAK_OK);
    EXPECT_EQ(std::string(parts.signature.begin(), parts.signature.end()), "signature");
    EXPECT_EQ(crypto.argument("SsfEncode", "data"), std::string(parts.content.begin(), parts.content.end()));
}

TEST_F(WriteTicketTest, TextsLoseTrailingBlanksOnTheWayToTheCryptoLibraryAPasswordDoesNot) {
    add(1, "user");
    context.includeCertificate = 1;
    ASSERT_EQ(write(4096), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfEncode", "format"), "PKCS7");
    EXPECT_EQ(crypto.argument("SsfSign", "format"), "PKCS7");
    EXPECT_EQ(crypto.argument("SsfSign", "hash"), "SHA256");
    EXPECT_EQ(crypto.argument("SsfSign", "includeCertificate"), "1");
    EXPECT_EQ(crypto.argument("SsfSign", "detached"), "1");
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "id"), "<implicit>");
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "profile"), "store.pse");
    EXPECT_EQ(crypto.argument("SsfNEWSigRcpSsfInfo", "password"), "secret ");
}

TEST_F(WriteTicketTest, CodePageBytesFrom128OnAreWrittenAsSigns) {
    add(1, "user");
    codePage =
        "4\x80\xFF"
        "0";
    ASSERT_EQ(write(4096), VORAK_OK);
    DecodedTicket decoded;
    ASSERT_EQ(decodeTicketText(std::string_view(text).substr(0, length), decoded), VORAK_OK);
    EXPECT_EQ(std::string(decoded.storage.begin() + 1, decoded.storage.begin() + 5), "4##0");
}

TEST_F(WriteTicketTest, ATextThatFillsTheBufferExactlyGetsNoTerminatorAndOneByteLessDoesNotFit) {
    add(1, "user");
    ASSERT_EQ(write(4096), VORAK_OK);
    const std::uint32_t needed = length;
    ASSERT_EQ(write(needed), VORAK_OK);
    EXPECT_EQ(length, needed);
    EXPECT_NE(text.back(), '\0');
    EXPECT_EQ(write(needed - 1), VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(text, std::string(needed - 1, '\x7E')) << "nothing is written";
}

TEST_F(WriteTicketTest, ATicketThatWouldExceed4096BytesIsRefused) {
    for (std::uint32_t id = 1; id < 16; ++id) {
        add(id, std::string(256, 'x'));
    }
    EXPECT_EQ(write(8192), VORAK_BUFFER_TOO_SMALL) << "fits as bytes but not as text";
    add(16, std::string(256, 'x'));
    EXPECT_EQ(write(8192), VORAK_BUFFER_TOO_SMALL);
    EXPECT_EQ(crypto.calls("SsfSign"), 1) << "units that do not fit are not signed";
}

TEST_F(WriteTicketTest, ATextOf4096CharactersIsWrittenAndNoneIsLonger) {
    // 5 bytes of header, eleven units of 3 + 256, one of 3 + 203 and the signature of 3 + 9: 3072 bytes.
    for (std::uint32_t id = 1; id < 12; ++id) {
        add(id, std::string(256, 'x'));
    }
    add(12, std::string(203, 'x'));
    ASSERT_EQ(write(8192), VORAK_OK);
    EXPECT_EQ(length, 4096u);
    EXPECT_EQ(text.substr(length), std::string(4096, '\0'));
    crypto->signature = "signature+";
    EXPECT_EQ(write(8192), VORAK_BUFFER_TOO_SMALL) << "whatever room the caller has";
}

TEST_F(WriteTicketTest, ASignatureThatDoesNotFitIsRefusedAndGivenBack) {
    add(1, "user");
    crypto->signature = std::string(4096, 's');
    EXPECT_EQ(write(8192), VORAK_BUFFER_TOO_SMALL);
}

TEST_F(WriteTicketTest, ASigningFailureIsReturnedAsItIs) {
    add(1, "user");
    crypto->functions["SsfEncode"].result = 11;
    EXPECT_EQ(write(4096), 11 << 16 | VORAK_CRYPTO_FAILED);
}

}  // namespace
}  // namespace quorvanti

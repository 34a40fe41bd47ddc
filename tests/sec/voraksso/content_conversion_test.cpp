#include "sec/voraksso/content_conversion.h"

#include "tests/sec/voraksso/engine_fixture.h"

#include "krn/rscp/converter_state.h"
#include "sec/voraksso/state.h"
#include "tests/support/allocation_failure.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <thread>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class ContentConversion : public ::testing::Test {
protected:
    ContentConversion() { EXPECT_EQ(ensureFrame(), kThrOk); }

    ContentNode* add(std::uint32_t id, std::string_view text) {
        std::unique_ptr<ContentNode> node;
        const Bytes bytes = bytesOf(text);
        EXPECT_EQ(NewContentNode(bytes.empty() ? &kNone : bytes.data(), bytes.size(), id, node), VORAK_OK);
        ContentNode* added = node.get();
        EXPECT_EQ(AddContentNode(&contents, node), VORAK_OK);
        return added;
    }
    static std::string textOf(const ContentNode* node) { return {node->bytes().begin(), node->bytes().end()}; }

    static constexpr std::uint8_t kNone = 0;
    EnvironmentVariable quiet{"RSCP_CATCH_INIT", "0"};
    ContentList contents;
};

TEST_F(ContentConversion, OnlyTextsInTheTicketsCodePageAreConverted) {
    ContentNode* user = add(0x01, "Gr\xFC\xDF");
    ContentNode* utf8User = add(0x0A, "Gr\xC3\xBC\xC3\x9F");
    ContentNode* flags = add(0x08, "\xFC");
    ContentNode* unknown = add(0x77, "\xFC");
    EXPECT_EQ(ConvertContentList("1100", "4110", contents), VORAK_OK);
    EXPECT_EQ(textOf(user), "Gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(user->convertedLength, 6);
    EXPECT_EQ(textOf(utf8User), "Gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(utf8User->convertedLength, 0) << "not converted";
    EXPECT_EQ(textOf(flags), "\xFC");
    EXPECT_EQ(textOf(unknown), "\xFC");
}

TEST_F(ContentConversion, TheSameCodePageSetsTheConvertedLengthToo) {
    ContentNode* time = add(0x04, "202603150905");
    EXPECT_EQ(ConvertContentList("4110", "4110", contents), VORAK_OK);
    EXPECT_EQ(time->convertedLength, 12);
    EXPECT_EQ(textOf(time), "202603150905");
}

TEST_F(ContentConversion, ANodeOfLength0IsNotPassedToTheConverter) {
    ContentNode* user = add(0x01, "");
    EXPECT_EQ(ConvertContentNode("9999", "8888", *user), VORAK_OK) << "no converter knows these code pages";
    EXPECT_EQ(user->convertedLength, 0);
}

TEST_F(ContentConversion, ACharacterThatTheTargetCannotRepresentBecomesASign) {
    ContentNode* user = add(0x01,
                            "a\xE2\x82\xAC"
                            "b");
    EXPECT_EQ(ConvertContentNode("4110", "1100", *user), VORAK_OK);
    EXPECT_EQ(textOf(user), "a#b");
}

TEST_F(ContentConversion, WhatIsBehindAShorterTextIsZero) {
    ContentNode* user = add(0x01, "\xC3\xBC\xC3\xBC");
    EXPECT_EQ(ConvertContentNode("4110", "1100", *user), VORAK_OK);
    EXPECT_EQ(user->length, 2);
    EXPECT_EQ(user->contents[2], 0);
    EXPECT_EQ(user->contents[3], 0);
}

TEST_F(ContentConversion, ATextThatGrowsBeyond256BytesFailsCleanly) {
    const TraceCapture trace(1);
    ContentNode* user = add(0x01, std::string(129, '\xFC'));
    ContentNode* next = add(0x02, "000");
    EXPECT_EQ(ConvertContentList("1100", "4110", contents), VORAK_INVALID);
    EXPECT_EQ(user->next, next) << "nothing is overrun";
    EXPECT_EQ(next->previous, user);
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Error in rscpCConvert rc = 32 [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't convert ticket content. rc = -4 [ssoxxext]"));
    EXPECT_TRUE(trace.contains("RSCP - Error")) << "the converter's own report";
}

TEST_F(ContentConversion, ATextThatGrowsToExactly256BytesFits) {
    ContentNode* user = add(0x01, std::string(128, '\xFC'));
    EXPECT_EQ(ConvertContentNode("1100", "4110", *user), VORAK_OK);
    EXPECT_EQ(user->length, 256);
}

TEST_F(ContentConversion, TheFirstFailureEndsTheListAndNamesTheUnit) {
    const TraceCapture trace(2);
    ContentNode* user = add(0x01, "user");
    ContentNode* time = add(0x04, "202603150905");
    EXPECT_EQ(ConvertContentList("9999", "4110", contents), VORAK_INVALID);
    EXPECT_EQ(user->convertedLength, 0);
    EXPECT_EQ(time->convertedLength, 0);
    EXPECT_EQ(trace.lines().front(), "Convert ticket content from KAV_CODEPAGE >9999< to >4110< ");
    EXPECT_TRUE(trace.contains("*** ERROR => Error in rscpCActivate rc = "));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't convert ticket content. rc = -2 [ssoxxext]"));
    EXPECT_TRUE(hasLine(trace, "Error in converting content User name "));
}

// Plain texts need no converting where a pair keeps them: what comes out must not depend on it.
TEST_F(ContentConversion, APlainTextComesOutAsItDoesBesideOthers) {
    std::string plain;
    for (char c = 0x20; c < 0x7F; ++c) {
        plain += c;
    }
    for (const std::string_view source : {"1100", "4110", "1160", "4103", "4102", "0120"}) {
        for (const std::string_view target : {"1100", "4110", "1160", "4103", "4102", "0120"}) {
            for (const std::string& text : {plain, std::string("JDOE"), std::string("a\x01"), std::string("a\x7F")}) {
                ContentNode node;
                node.length = static_cast<std::uint16_t>(text.size());
                std::memcpy(node.contents, text.data(), text.size());
                std::array<std::uint8_t, kUnitCapacity> expected{};
                std::uint32_t length = 0;
                const bool converts = ConvertText(expected, node.bytes(), target, source, &length) == 0;
                ASSERT_EQ(ConvertContentNode(source, target, node), converts ? VORAK_OK : VORAK_INVALID)
                    << source << target << text;
                if (converts) {
                    EXPECT_EQ(node.length, length) << source << target << text;
                    EXPECT_EQ(node.convertedLength, length);
                    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), node.contents))
                        << source << target << text;
                }
            }
        }
    }
}

TEST_F(ContentConversion, AFailureKeepsWhatWasConvertedAndLeavesTheRestAlone) {
    ContentNode* client = add(0x02, "\xFC");
    ContentNode* systemId = add(0x03, std::string(129, '\xFC'));
    ContentNode* time = add(0x04, "\xFC");
    EXPECT_EQ(ConvertContentList("1100", "4110", contents), VORAK_INVALID);
    EXPECT_EQ(textOf(client), "\xC3\xBC");
    EXPECT_EQ(client->convertedLength, 2);
    EXPECT_EQ(systemId->convertedLength, 0);
    EXPECT_EQ(textOf(time), "\xFC");
    EXPECT_EQ(time->convertedLength, 0);
}

TEST_F(ContentConversion, AtLevel3TheRecordOfTheUnitThatFailedIsDumped) {
    const TraceCapture trace(3);
    add(0x01, "user");
    EXPECT_EQ(ConvertContentList("9999", "4110", contents), VORAK_INVALID);
    const std::vector<std::string> lines = trace.lines();
    const auto named = std::find(lines.begin(), lines.end(), "Error in converting content User name ");
    ASSERT_NE(named, lines.end());
    ASSERT_EQ(lines.end() - named, 1 + 18) << "a record of 280 bytes, sixteen a line";
    EXPECT_TRUE(named[1].starts_with("00000000  01 00 00 00 ")) << named[1];
    EXPECT_TRUE(named[18].starts_with("00000110  ")) << named[18];
}

TEST_F(ContentConversion, AConverterThatDoesNotStartIsTracedWithItsReport) {
    setRscpState(RscpState::failed);
    const TraceCapture trace(1);
    ContentNode* user = add(0x01, "user");
    EXPECT_EQ(ConvertContentNode("1100", "4110", *user), VORAK_INVALID);
    const std::vector<std::string> lines = trace.lines();
    EXPECT_EQ(lines.front(), "*** ERROR => Error in rscpCInit rc = 1 [ssoxxext]");
    EXPECT_TRUE(hasLine(trace, "| char code converter damaged                                          |"));
    EXPECT_EQ(lines.back(), "*** ERROR => Couldn't convert ticket content. rc = -1 [ssoxxext]");
}

TEST_F(ContentConversion, WithoutMemoryForACodePageThePairIsTriedAgainLater) {
    const TemporaryDirectory directory;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    writeFile("S2001.CPA", "0x23 0x0023\n0x41 0x00FC\n");
    ContentNode* user = add(0x01, "A");
    {
        const TraceCapture trace(1);
        {
            const AllocationFailure failure;
            EXPECT_EQ(ConvertContentNode("2001", "4110", *user), VORAK_INVALID);
        }
        EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't convert ticket content. rc = -3 [ssoxxext]"));
    }
    user->contents[0] = 'A';
    EXPECT_EQ(ConvertContentNode("2001", "4110", *user), VORAK_OK);
    EXPECT_EQ(textOf(user), "\xC3\xBC");
    std::filesystem::current_path(before);
}

TEST_F(ContentConversion, APairThatFailedDoesNotSpoilTheOthers) {
    for (int round = 0; round < 6; ++round) {
        ContentNode bad;
        bad.length = 1;
        EXPECT_EQ(ConvertContentNode("9999", "4110", bad), VORAK_INVALID);
        for (const auto& [source, target] :
             {std::pair{"1100", "4110"}, {"4110", "1100"}, {"1160", "4110"}, {"4103", "1100"}, {"1100", "4103"}}) {
            ContentNode node;
            node.length = 2;
            EXPECT_EQ(ConvertContentNode(source, target, node), VORAK_OK) << source << target;
        }
    }
}

TEST_F(ContentConversion, AUtf8NodeHoldsTheConvertedTextUnderItsId) {
    std::unique_ptr<ContentNode> node;
    EXPECT_EQ(NewUtf8ContentNode(node, bytesOf("Gr\xFC\xDF"), 0x0F, "1100"), 0);
    EXPECT_EQ(textOf(node.get()), "Gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(node->id, 0x0Fu);
    EXPECT_EQ(node->next, nullptr);
}

TEST_F(ContentConversion, Utf8NodesEndAtTheFirstZeroByte) {
    std::unique_ptr<ContentNode> node;
    EXPECT_EQ(NewUtf8ContentNode(node, bytesOf(std::string_view("\xFC\0after", 7)), 0x0F, "1100"), 0);
    EXPECT_EQ(textOf(node.get()), "\xC3\xBC");
}

TEST_F(ContentConversion, AUtf8NodeThatDoesNotFitIsNamedByTheCharacterOfItsId) {
    const TraceCapture trace(1);
    std::unique_ptr<ContentNode> node;
    EXPECT_EQ(NewUtf8ContentNode(node, Bytes(200, 0xFC), 'A', "1100"), -1);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"*** ERROR => Couldn't create item A, rc = 9. [ssoxxext]"});
}

TEST_F(ContentConversion, AUtf8NodeFromAnUnknownCodePageFails) {
    const TraceCapture trace(1);
    std::unique_ptr<ContentNode> node;
    EXPECT_EQ(NewUtf8ContentNode(node, bytesOf("x"), 0x0F, "9999"), -1);
    EXPECT_TRUE(trace.contains("*** ERROR => Conversion of data to utf-8 failed, rc = "));
}

TEST_F(ContentConversion, ADumpOf20BytesGivesOneFullLineAndOneOfFour) {
    const TraceCapture trace(3);
    TraceHexDump("0123456789ABCDEF\x01xyz", 20);
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{
                                 "00000000  30 31 32 33 34 35 36 37  38 39 41 42 43 44 45 46  0123456789ABCDEF",
                                 "00000010  01 78 79 7a                                       .xyz            "}));
}

TEST_F(ContentConversion, ADumpOf16BytesHasNoClosingLine) {
    const TraceCapture trace(3);
    TraceHexDump("0123456789ABCDEF", 16);
    EXPECT_EQ(trace.lines().size(), 1u);
}

TEST_F(ContentConversion, NothingIsDumpedBelowLevel3) {
    const TraceCapture trace(2);
    TraceHexDump("0123456789ABCDEF", 16);
    EXPECT_TRUE(trace.lines().empty());
}

TEST_F(ContentConversion, ManyThreadsConvertAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 200; ++round) {
                ContentNode node;
                node.length = 1;
                node.contents[0] = 0xFC;
                EXPECT_EQ(ConvertContentNode(i % 2 == 0 ? "1100" : "1160", "4110", node), VORAK_OK);
                EXPECT_EQ(node.length, 2);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace quorvanti

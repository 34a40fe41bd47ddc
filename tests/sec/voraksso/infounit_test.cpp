#include "sec/voraksso/infounit.h"

#include <quorvanti/voraksso.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quorvanti {
namespace {

std::int32_t add(ContentList& list, std::uint32_t id, const std::string& text) {
    std::unique_ptr<ContentNode> node;
    const std::int32_t code = NewContentNode(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), id, node);
    return code != VORAK_OK ? code : AddContentNode(&list, node);
}

std::int32_t addInRoom(ContentList& list, std::uint32_t id, const std::string& text) {
    return AddContent(list, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), id);
}

std::string inOrder(const ContentList& list) {
    std::string result;
    const ContentNode* previous = nullptr;
    for (const ContentNode* node = list.first(); node != nullptr; previous = node, node = node->next) {
        EXPECT_EQ(node->previous, previous);
        result += std::to_string(node->id) + std::string(reinterpret_cast<const char*>(node->contents), node->length);
    }
    return result;
}

TEST(InfoUnitTable, HoldsTheNineteenKnownUnitsInAscendingOrder) {
    EXPECT_EQ(infoUnitTable().size(), 19u);
    for (std::size_t i = 1; i < infoUnitTable().size(); ++i) {
        EXPECT_LT(infoUnitTable()[i - 1].id, infoUnitTable()[i].id);
    }
    for (const InfoUnit& unit : infoUnitTable()) {
        EXPECT_EQ(findInfoUnit(unit.id), &unit);
    }
    EXPECT_STREQ(findInfoUnit(0x07)->name, "Duration validity (min)");
    EXPECT_EQ(findInfoUnit(0x09)->kind, UnitKind::codePageText);
    EXPECT_EQ(findInfoUnit(0x88)->kind, UnitKind::utf8Text);
    EXPECT_EQ(findInfoUnit(0x11), nullptr);
    EXPECT_EQ(findInfoUnit(0x100), nullptr);
}

TEST(ContentList, KeepsUnitsInAscendingOrderWhateverTheOrderOfInsertion) {
    ContentList list;
    for (const std::uint32_t id : {5U, 1U, 200U, 3U, 255U, 0U, 4U}) {
        EXPECT_EQ(add(list, id, ""), VORAK_OK);
    }
    EXPECT_EQ(inOrder(list), "01345200255");
}

TEST(ContentList, OfTwoUnitsWithTheSameIdALookupReturnsTheLaterOne) {
    ContentList list;
    add(list, 1, "early");
    add(list, 2, "other");
    add(list, 1, "late");
    EXPECT_EQ(inOrder(list), "1late1early2other");
    EXPECT_EQ(list.find(1), list.first());
    EXPECT_EQ(list.find(3), nullptr);
}

TEST(ContentList, ANodeThatIsStillLinkedIsRefused) {
    ContentList list;
    auto node = std::make_unique<ContentNode>();
    ContentNode neighbour;
    node->next = &neighbour;
    EXPECT_EQ(AddContentNode(&list, node), VORAK_INVALID);
    EXPECT_NE(node, nullptr) << "a refused node stays with its owner";
    node->next = nullptr;
    node->previous = &neighbour;
    EXPECT_EQ(AddContentNode(&list, node), VORAK_INVALID);
    node->previous = nullptr;
    EXPECT_EQ(AddContentNode(&list, node), VORAK_OK);
    EXPECT_EQ(node, nullptr);
}

TEST(ContentList, AMissingListOrNodeIsAMissingArgument) {
    ContentList list;
    auto node = std::make_unique<ContentNode>();
    std::unique_ptr<ContentNode> none;
    EXPECT_EQ(AddContentNode(nullptr, node), VORAK_MISSING_ARGUMENT);
    EXPECT_EQ(AddContentNode(&list, none), VORAK_MISSING_ARGUMENT);
}

TEST(ContentList, IsEmptyAfterItWasFreed) {
    ContentList list;
    add(list, 1, "a");
    add(list, 2, "b");
    FreeContentList(list);
    EXPECT_TRUE(list.empty());
    add(list, 3, "c");
    EXPECT_EQ(inOrder(list), "3c");
}

// What lies in the list's room, what was handed over and what found no more room are in one order, and go together.
TEST(ContentList, HoldsNodesOfItsOwnAndThoseOfOthersTogether) {
    ContentList list;
    for (int round = 0; round < 3; ++round) {
        std::string expected;
        for (std::uint32_t id = 100; id < 140; ++id) {
            ASSERT_EQ(id % 3 == 0 ? add(list, id, "x") : addInRoom(list, id, "y"), VORAK_OK);
            expected += std::to_string(id) + (id % 3 == 0 ? "x" : "y");
        }
        ASSERT_EQ(addInRoom(list, 100, "late"), VORAK_OK);
        ASSERT_EQ(add(list, 1, "first"), VORAK_OK);
        EXPECT_EQ(inOrder(list), "1first100late" + expected);
        EXPECT_STREQ(reinterpret_cast<const char*>(list.find(139)->contents), "y");
        FreeContentList(list);
        EXPECT_TRUE(list.empty());
    }
    addInRoom(list, 7, "left to the end of the list");
}

TEST(ContentList, ChecksAUnitThatItMakesANodeOf) {
    ContentList list;
    const std::vector<std::uint8_t> bytes(257, 0xAB);
    EXPECT_EQ(AddContent(list, bytes.data(), 257, 1), VORAK_INVALID);
    EXPECT_EQ(AddContent(list, bytes.data(), 1, 256), VORAK_MALFORMED);
    EXPECT_EQ(AddContent(list, nullptr, 0, 1), VORAK_MISSING_ARGUMENT);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(AddContent(list, bytes.data(), 256, 255), VORAK_OK);
    EXPECT_EQ(list.first()->length, 256);
    EXPECT_EQ(list.first()->convertedLength, 0);
}

TEST(ContentList, ANodeInItsRoomIsZeroBehindTheUsedLengthAlsoTheSecondTime) {
    ContentList list;
    const std::string full(kUnitCapacity, 'f');
    addInRoom(list, 1, full);
    FreeContentList(list);
    addInRoom(list, 2, "s");
    const ContentNode& node = *list.first();
    EXPECT_EQ(std::string(node.contents, node.contents + kUnitCapacity), "s" + std::string(kUnitCapacity - 1, '\0'));
    EXPECT_EQ(node.convertedLength, 0);
}

TEST(ContentNode, HoldsUpTo256BytesAndAnIdOfOneByte) {
    std::unique_ptr<ContentNode> node;
    const std::vector<std::uint8_t> bytes(257, 0xAB);
    EXPECT_EQ(NewContentNode(bytes.data(), 256, 255, node), VORAK_OK);
    EXPECT_EQ(node->length, 256);
    EXPECT_EQ(node->convertedLength, 0);
    EXPECT_EQ(NewContentNode(bytes.data(), 257, 1, node), VORAK_INVALID);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(NewContentNode(bytes.data(), 1, 256, node), VORAK_MALFORMED);
    EXPECT_EQ(NewContentNode(nullptr, 1, 1, node), VORAK_MISSING_ARGUMENT);
}

TEST(ContentNode, IsZeroBehindTheUsedLength) {
    std::unique_ptr<ContentNode> node;
    const std::uint8_t byte = 0xFF;
    ASSERT_EQ(NewContentNode(&byte, 1, 1, node), VORAK_OK);
    for (std::size_t i = 1; i < kUnitCapacity; ++i) {
        ASSERT_EQ(node->contents[i], 0);
    }
}

}  // namespace
}  // namespace quorvanti

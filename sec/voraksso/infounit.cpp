#include "sec/voraksso/infounit.h"

#include <quorvanti/voraksso.h>

#include <array>
#include <cstring>
#include <functional>
#include <iterator>
#include <new>

namespace quorvanti {
namespace {

// clang-format off
constexpr InfoUnit kInfoUnits[] = {
    {0x01, "User name",                 UnitKind::codePageText},
    {0x02, "Creator client",            UnitKind::codePageText},
    {0x03, "Creator system id",         UnitKind::codePageText},
    {0x04, "UTC Time creation",         UnitKind::codePageText},
    {0x05, "Duration validity",         UnitKind::integer},
    {0x06, "RFC ticket",                UnitKind::codePageText},
    {0x07, "Duration validity (min)",   UnitKind::integer},
    {0x08, "Flags",                     UnitKind::bytes},
    {0x09, "Language",                  UnitKind::codePageText},
    {0x0A, "User name (UTF-8)",         UnitKind::utf8Text},
    {0x0B, "Creator client (UTF-8)",    UnitKind::utf8Text},
    {0x0C, "Creator system id (UTF-8)", UnitKind::utf8Text},
    {0x0D, "UTC Time creation (UTF-8)", UnitKind::utf8Text},
    {0x0E, "Language (UTF-8)",          UnitKind::utf8Text},
    {0x0F, "Recipient client",          UnitKind::utf8Text},
    {0x10, "Recipient system id",       UnitKind::utf8Text},
    {0x20, "Portal user name",          UnitKind::utf8Text},
    {0x88, "Authentication scheme",     UnitKind::utf8Text},
    {0xFF, "Signature",                 UnitKind::bytes},
};
// clang-format on

// Where the unit with an id stands in the table; behind its end when there is none.
constexpr std::array<std::uint8_t, 256> kPlaces = [] {
    std::array<std::uint8_t, 256> places{};
    places.fill(std::size(kInfoUnits));
    for (std::size_t i = 0; i < std::size(kInfoUnits); ++i) {
        places[kInfoUnits[i].id] = static_cast<std::uint8_t>(i);
    }
    return places;
}();

}  // namespace

std::span<const InfoUnit> infoUnitTable() {
    return kInfoUnits;
}

const InfoUnit* findInfoUnit(std::uint32_t id) {
    const std::size_t place = id < kPlaces.size() ? kPlaces[id] : std::size(kInfoUnits);
    return place < std::size(kInfoUnits) ? &kInfoUnits[place] : nullptr;
}

ContentList::~ContentList() {
    FreeContentList(*this);
}

const ContentNode* ContentList::find(std::uint32_t id) const {
    const ContentNode* node = head_;
    while (node != nullptr && node->id < id) {
        node = node->next;
    }
    return node != nullptr && node->id == id ? node : nullptr;
}

namespace {

std::int32_t checkContent(const std::uint8_t* contents, std::size_t length, std::uint32_t id) {
    if (contents == nullptr) {
        return VORAK_MISSING_ARGUMENT;
    }
    if (length > kUnitCapacity) {
        return VORAK_INVALID;
    }
    return id > 0xFF ? VORAK_MALFORMED : VORAK_OK;
}

void fillNode(ContentNode& node, const std::uint8_t* contents, std::size_t length, std::uint32_t id) {
    node.id = id;
    node.length = static_cast<std::uint16_t>(length);
    std::memcpy(node.contents, contents, length);
}

}  // namespace

std::int32_t NewContentNode(const std::uint8_t* contents, std::size_t length, std::uint32_t id,
                            std::unique_ptr<ContentNode>& node) {
    node.reset();
    if (const std::int32_t code = checkContent(contents, length, id); code != VORAK_OK) {
        return code;
    }
    node.reset(new (std::nothrow) ContentNode);
    if (node == nullptr) {
        return VORAK_NO_MEMORY;
    }
    fillNode(*node, contents, length, id);
    return VORAK_OK;
}

void ContentList::link(ContentNode* added) {
    // Tickets name their units in ascending order: nearly every node comes behind the last.
    ContentNode* after = tail_ != nullptr && tail_->id < added->id ? nullptr : head_;
    while (after != nullptr && after->id < added->id) {
        after = after->next;
    }
    added->next = after;
    added->previous = after != nullptr ? after->previous : tail_;
    (added->previous != nullptr ? added->previous->next : head_) = added;
    (added->next != nullptr ? added->next->previous : tail_) = added;
}

bool ContentList::isInRoom(const ContentNode* node) const {
    const std::less<> before;
    return !before(node, room_) && before(node, room_ + kRoom);
}

std::int32_t AddContentNode(ContentList* list, std::unique_ptr<ContentNode>& node) {
    if (list == nullptr || node == nullptr) {
        return VORAK_MISSING_ARGUMENT;
    }
    if (node->next != nullptr || node->previous != nullptr || node.get() == list->head_) {
        return VORAK_INVALID;
    }
    list->link(node.release());
    return VORAK_OK;
}

std::int32_t AddContent(ContentList& list, const std::uint8_t* contents, std::size_t length, std::uint32_t id) {
    if (const std::int32_t code = checkContent(contents, length, id); code != VORAK_OK) {
        return code;
    }
    ContentNode* const node = list.roomUsed_ < ContentList::kRoom ? std::construct_at(&list.room_[list.roomUsed_++])
                                                                  : new (std::nothrow) ContentNode;
    if (node == nullptr) {
        return VORAK_NO_MEMORY;
    }
    fillNode(*node, contents, length, id);
    list.link(node);
    return VORAK_OK;
}

void FreeContentList(ContentList& list) {
    while (list.head_ != nullptr) {
        ContentNode* const node = list.head_;
        list.head_ = node->next;
        if (!list.isInRoom(node)) {
            delete node;
        }
    }
    list.tail_ = nullptr;
    list.roomUsed_ = 0;
}

}  // namespace quorvanti

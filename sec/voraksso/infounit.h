// The tagged fields of a ticket: what the known ids mean, and the list that holds the fields of one ticket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace quorvanti {

inline constexpr std::uint8_t kUnitUser = 0x01;
inline constexpr std::uint8_t kUnitCreatorClient = 0x02;
inline constexpr std::uint8_t kUnitCreatorSystemId = 0x03;
inline constexpr std::uint8_t kUnitCreationTime = 0x04;
inline constexpr std::uint8_t kUnitValidityHours = 0x05;
inline constexpr std::uint8_t kUnitValidityMinutes = 0x07;
inline constexpr std::uint8_t kUnitFlags = 0x08;
inline constexpr std::uint8_t kUnitLanguage = 0x09;
inline constexpr std::uint8_t kUnitRecipientClient = 0x0F;
inline constexpr std::uint8_t kUnitRecipientSystemId = 0x10;
inline constexpr std::uint8_t kUnitPortalUser = 0x20;
inline constexpr std::uint8_t kUnitPortalUserLast = 0x3F;
inline constexpr std::uint8_t kUnitAuthScheme = 0x88;
inline constexpr std::uint8_t kUnitSignature = 0xFF;

inline constexpr std::size_t kUnitCapacity = 256;

inline constexpr std::uint8_t kAssertionFlag = 0x01;  // in the first byte of the flags

enum class UnitKind { codePageText, integer, utf8Text, bytes };

struct InfoUnit {
    std::uint8_t id;
    const char* name;
    UnitKind kind;
};
// All known ids in ascending order.
std::span<const InfoUnit> infoUnitTable();
// Null for an id that is not in the table.
const InfoUnit* findInfoUnit(std::uint32_t id);

// One field. The layout is that of the record as the trace dumps it.
struct ContentNode {
    std::uint32_t id = 0;
    std::uint8_t contents[kUnitCapacity] = {};
    std::uint16_t length = 0;
    std::uint16_t convertedLength = 0;
    ContentNode* next = nullptr;
    ContentNode* previous = nullptr;

    std::span<const std::uint8_t> bytes() const { return {contents, length}; }
};
static_assert(sizeof(ContentNode) == 280);

// The fields of one ticket in ascending order of id. Owns its nodes: those that were handed over are on the heap; those
// that it makes itself are in its own room, as long as that lasts.
class ContentList {
public:
    ContentList() {}  // leaves the room as it is

    ~ContentList();
    ContentList(const ContentList&) = delete;
    ContentList& operator=(const ContentList&) = delete;

    bool empty() const { return head_ == nullptr; }
    ContentNode* first() const { return head_; }
    // The first node with the id, or null: of units that repeat an id, the one that came last in the ticket.
    const ContentNode* find(std::uint32_t id) const;

private:
    friend std::int32_t AddContentNode(ContentList* list, std::unique_ptr<ContentNode>& node);
    friend std::int32_t AddContent(ContentList& list, const std::uint8_t* contents, std::size_t length,
                                   std::uint32_t id);
    friend void FreeContentList(ContentList& list);

    void link(ContentNode* added);
    bool isInRoom(const ContentNode* node) const;

    static constexpr std::size_t kRoom = 16;  // an ordinary ticket has ten units
    union {
        ContentNode room_[kRoom];
    };
    std::size_t roomUsed_ = 0;
    ContentNode* head_ = nullptr;
    ContentNode* tail_ = nullptr;
};

// 0; 5 an id above 255; 9 more than 256 bytes; 11 out of memory; 15 no contents.
std::int32_t NewContentNode(const std::uint8_t* contents, std::size_t length, std::uint32_t id,
                            std::unique_ptr<ContentNode>& node);
// Takes the node over, in front of the first whose id is equal or larger. 0; 9 the node is linked somewhere; 15 no list
// or no node.
std::int32_t AddContentNode(ContentList* list, std::unique_ptr<ContentNode>& node);
// Both in one, for a node that nobody holds in between.
std::int32_t AddContent(ContentList& list, const std::uint8_t* contents, std::size_t length, std::uint32_t id);
void FreeContentList(ContentList& list);

}  // namespace quorvanti

#include "sec/voraksso/recipient.h"

#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/content_conversion.h"
#include "sec/voraksso/properties.h"
#include "sec/voraksso/text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";
constexpr std::size_t kSystemIdWidth = 8;
constexpr std::size_t kClientWidth = 3;

auto countSigns(std::string_view text) {
    return std::count(text.begin(), text.end(), '#');
}

// A recipient unit brought from UTF-8 into a field of fixed width, filled up with blanks.
template <std::size_t Width>
struct RecipientField {
    std::array<char, Width> characters;
    std::size_t used = 0;       // without trailing blanks
    bool representable = true;  // false: no system can have this name

    explicit RecipientField(const ContentNode& unit) {
        characters.fill(' ');
        std::array<std::uint8_t, kUnitCapacity> text;
        std::uint32_t length = 0;
        if (unit.length > 0 && ConvertText(text, unit.bytes(), "1100", "4110", &length) != 0) {
            representable = false;
        }
        const std::string_view name = withoutTrailingBlanks({reinterpret_cast<const char*>(text.data()), length});
        used = name.size();
        // What the field cannot represent was replaced by "#": such a name is not the one that has a "#" itself.
        const std::string_view original(reinterpret_cast<const char*>(unit.contents), unit.length);
        representable = representable && used <= Width && countSigns(name) == countSigns(original);
        std::memcpy(characters.data(), name.data(), std::min(used, Width));
    }
    bool matches(std::string_view own) const {
        // Over the width of the field on purpose: what is longer is not looked at.
        own = withoutTrailingBlanks(own.substr(0, Width));
        return representable && own.size() == used && std::memcmp(own.data(), characters.data(), used) == 0;
    }
};

bool checkSystemId(const ContentNode& unit, const std::string& own) {
    const RecipientField<kSystemIdWidth> recipient(unit);
    if (recipient.matches(own)) {
        return true;
    }
    const std::size_t ownLength = withoutTrailingBlanks(own).size();
    if (recipient.used == ownLength) {
        TRACE_ERROR("Recipient system name does not match with current system name (see note 7700102).\n");
    } else {
        TRACE_ERROR(
            "Recipient system name length %d does not match with current system name length %d, (see note 7700102).\n",
            static_cast<int>(recipient.used), static_cast<int>(ownLength));
    }
    TRACE(2, "Recipient in ticket: sysid=>%8.8s< with used length of %d\n", recipient.characters.data(),
          static_cast<int>(recipient.used));
    TRACE(2, "Current system ID  : sysid=>%s<\n", own.c_str());
    return false;
}

bool checkClient(const ContentNode& unit, const std::string& own) {
    const RecipientField<kClientWidth> recipient(unit);
    if (recipient.matches(own)) {
        return true;
    }
    TRACE_ERROR("Recipient client does not match with current client (see note 7700102).\n");
    TRACE(2, "Recipient client in ticket: client=>%3.3s< with used length of %d\n", recipient.characters.data(),
          static_cast<int>(recipient.used));
    TRACE(2, "Current system client     : client=>%s<\n", own.c_str());
    return false;
}

// The two modes look at different properties on purpose.
OwnIdentity logonIdentity() {
    return {propertyCopy("KAV_EXT_SYSID"), propertyCopy("KAV_EXT_CLIENT")};
}

}  // namespace

std::int32_t checkRecipient(const ContentList& contents, EvaluationMode mode, const OwnIdentity& given, bool& matched) {
    const ContentNode* systemId = contents.find(kUnitRecipientSystemId);
    const ContentNode* client = contents.find(kUnitRecipientClient);
    if (systemId == nullptr && client == nullptr) {
        if (mode == EvaluationMode::assertion) {
            TRACE_ERROR("KAV Assertion Ticket is without recipient information.\n");
            return VORAK_NOT_FOR_US;
        }
        TRACE(3, "Ticket is without recipient information.\n");
        return VORAK_OK;
    }
    const OwnIdentity own = mode == EvaluationMode::logon ? logonIdentity() : given;
    if (own.systemId.empty() || own.client.empty()) {
        TRACE_ERROR(
            "Ticket contains recipient information, but there is no own identity defined (see note 7700102).\n");
        return VORAK_NOT_FOR_US;
    }
    if (systemId == nullptr) {
        TRACE_ERROR("Recipient client in ticket but not recipient name.\n");
        return VORAK_NOT_FOR_US;
    }
    if (client == nullptr) {
        TRACE_ERROR("Recipient system name in ticket but not recipient client.\n");
        return VORAK_NOT_FOR_US;
    }
    matched = checkSystemId(*systemId, own.systemId) && checkClient(*client, own.client);
    return matched ? VORAK_OK : VORAK_NOT_FOR_US;
}

std::int32_t checkFlags(const ContentNode* flags, EvaluationMode mode) {
    if (mode == EvaluationMode::logon) {
        return VORAK_OK;
    }
    if (flags == nullptr) {
        TRACE_ERROR("Ticket syntax is not valid for KAV Assertion Ticket. Missing Flags\n");
        return VORAK_NOT_FOR_US;
    }
    if ((flags->contents[0] & kAssertionFlag) == 0) {
        TRACE_ERROR("Ticket syntax is not valid for KAV Assertion Ticket. Invalid Flags\n");
        return VORAK_NOT_FOR_US;
    }
    return VORAK_OK;
}

}  // namespace quorvanti

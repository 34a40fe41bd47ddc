#include "sec/voraksso/assertion_checks.h"

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/state.h"

#include <cstring>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

constexpr std::size_t kLongestSystemId = 8;
constexpr std::size_t kLongestClient = 3;
constexpr std::size_t kLongestUser = 36;

std::int32_t checkOwnIdentity(const AssertionRequest& request) {
    if (request.ownSystemId == nullptr) {
        TRACE_ERROR("Missing own system Id information.\n");
        if (request.ownClient != nullptr) {
            return VORAK_MISSING_ARGUMENT;
        }
    }
    if (request.ownClient == nullptr) {
        TRACE_ERROR("Missing own system client information.\n");
        return VORAK_MISSING_ARGUMENT;
    }
    if (std::strlen(request.ownSystemId) > kLongestSystemId) {
        TRACE_ERROR("System Id too long\n");
        return VORAK_NOT_FOR_US;
    }
    if (std::strlen(request.ownClient) > kLongestClient) {
        TRACE_ERROR("System Client too long\n");
        return VORAK_NOT_FOR_US;
    }
    return VORAK_OK;
}

std::int32_t checkUser(const AssertionContent& content) {
    const std::string_view user = givenText(content.user, content.userLength);
    const std::string_view portalUser = givenText(content.portalUser, content.portalUserLength);
    if (user.empty() && portalUser.empty()) {
        TRACE_ERROR("No user supplied for ticket creation.\n");
        return VORAK_NO_USER;
    }
    if (user.size() > kLongestUser) {
        TRACE_ERROR("KAV user supplied for ticket creation too long, must be at the most %d.\n",
                    static_cast<int>(kLongestUser));
        return VORAK_NO_USER;
    }
    // 256 itself passes, whatever the message says: deliberate, callers use it.
    if (portalUser.size() > kLongestPortalUser) {
        TRACE_ERROR("Portal user supplied for ticket creation too long, must be smaller 256.\n");
        return VORAK_NO_USER;
    }
    return VORAK_OK;
}

std::int32_t checkRecipient(const AssertionContent& content) {
    const std::string_view systemId = givenText(content.recipientSysId, content.recipientSysIdLength);
    const std::string_view client = givenText(content.recipientClient, content.recipientClientLength);
    if (systemId.empty()) {
        TRACE_ERROR("Missing recipient System Id information.\n");
    }
    if (client.empty()) {
        TRACE_ERROR("Missing recipient System Client information.\n");
    }
    if (systemId.empty() || client.empty()) {
        return VORAK_NOT_FOR_US;
    }
    if (systemId.size() > kLongestSystemId) {
        TRACE_ERROR("Recipient system Id too long\n");
        return VORAK_NOT_FOR_US;
    }
    if (client.size() > kLongestClient) {
        TRACE_ERROR("Recipient system client too long\n");
        return VORAK_NOT_FOR_US;
    }
    return VORAK_OK;
}

}  // namespace

std::string_view givenText(const char* text, const std::uint32_t* length) {
    return text != nullptr && length != nullptr ? std::string_view(text, *length) : std::string_view();
}

std::int32_t checkAssertionRequest(const AssertionRequest& request) {
    if (!requireInitialized()) {
        return VORAK_INVALID;
    }
    if (request.ticket == nullptr || request.ticketLength == nullptr) {
        TRACE_ERROR("Missing output buffer pointer for ticket\n");
        return VORAK_MISSING_ARGUMENT;
    }
    if (const std::int32_t code = checkOwnIdentity(request); code != VORAK_OK) {
        return code;
    }
    if (request.content == nullptr || request.content->structSize != sizeof(AssertionContent)) {
        TRACE_ERROR("Passed ticket content structure not valid.\n");
        return VORAK_MISSING_ARGUMENT;
    }
    if (const std::int32_t code = checkUser(*request.content); code != VORAK_OK) {
        return code;
    }
    return checkRecipient(*request.content);
}

}  // namespace quorvanti

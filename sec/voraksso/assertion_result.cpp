#include "sec/voraksso/assertion_result.h"

#include "base/dptrc/dptrace.h"

#include <algorithm>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

void clearTicket(const AssertionRequest& request) {
    if (*request.ticketLength > 0) {
        request.ticket[0] = '\0';
    }
    *request.ticketLength = 0;
}

std::int32_t handOut(const AssertionRequest& request, std::uint32_t length) {
    TRACE(2, "Creation of Assertion Ticket was successful.\n");
    if (length > *request.ticketLength) {
        TRACE_ERROR("Ticket has length %u, but buffer with length %u provided.\n", length, *request.ticketLength);
        return VORAK_BUFFER_TOO_SMALL;
    }
    *request.ticketLength = length;
    std::replace(request.ticket, request.ticket + length, '+', '!');
    TRACE(3, "Cleanup of VorakCreateAssertionTicket\n");
    return VORAK_OK;
}

}  // namespace

std::int32_t handOutTicket(const AssertionRequest& request, std::int32_t code, std::uint32_t length) {
    switch (code) {
        case VORAK_OK:
            return handOut(request, length);
        case VORAK_BUFFER_TOO_SMALL:
            TRACE_ERROR("Ticket string too long for output buffer.\n");
            return VORAK_BUFFER_TOO_SMALL;
        case VORAK_ENCODING_FAILED:
            TRACE_ERROR("Internal error: Base64 encoding failed.\n");
            clearTicket(request);
            return VORAK_INVALID;
        default:
            TRACE_ERROR("Ticket creation failed with rc = %d.\n", code);
            clearTicket(request);
            return code;
    }
}

}  // namespace quorvanti

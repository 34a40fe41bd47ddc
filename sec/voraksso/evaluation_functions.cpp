// The exported functions that evaluate tickets: each fills a request in its own way.
#include "base/dptrc/dptrace.h"
#include "sec/voraksso/evaluate.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/properties.h"
#include "sec/voraksso/ticket_codec.h"

#include <cstring>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

// Counted up to what is too long anyway.
std::size_t textLength(const char* text) {
    return text != nullptr ? strnlen(text, kTicketTextLimit) : 0;
}

std::int32_t evaluateFor(const char* function, const EvaluationRequest& request) {
    const std::int32_t code = evaluateTicket(request);
    if (code != VORAK_OK) {
        TRACE_ERROR("%s returns %d.\n", function, code);
    }
    TRACE(3, "End of function %s.\n", function);
    return code;
}

// A property stands in for a part of the own identity that the caller left out.
std::string ownOrProperty(const char* own, const char* property, const char* message) {
    if (own != nullptr) {
        return own;
    }
    std::string value = propertyCopy(property);
    TRACE_ERROR("KAV Assertion Ticket requires %s information of recipient, use default %s\n", message, value.c_str());
    return value;
}

}  // namespace
}  // namespace quorvanti

using namespace quorvanti;

extern "C" {

QUORVANTI_API int32_t VorakEvalLogonTicket(const char* ticket, const char* profile, const char* password, char* user,
                                           uint32_t* userLength, uint8_t* certificate, uint32_t* certificateLength,
                                           char* systemId, uint32_t* systemIdLength, char* client,
                                           uint32_t* clientLength) {
    return guarded([&] {
        TRACE(3, "VorakEvalLogonTicket was called.\n");
        if (ticket == nullptr || user == nullptr || userLength == nullptr || certificate == nullptr ||
            certificateLength == nullptr || systemId == nullptr || systemIdLength == nullptr || client == nullptr ||
            clientLength == nullptr) {
            TRACE_ERROR("Missing input parameters.\n");
            return VORAK_INVALID;
        }
        TICKET_INFO info{};
        info.struct_size = sizeof info;
        std::memcpy(info.code_page, "4110", sizeof info.code_page);
        info.user = user;
        info.user_capacity = userLength;
        info.system_id = systemId;
        info.system_id_capacity = systemIdLength;
        info.client = client;
        info.client_capacity = clientLength;
        EvaluationRequest request;
        request.ticket = ticket;
        request.length = std::strlen(ticket);
        request.profile = profile;
        request.password = password;
        request.certificate = {certificate, certificateLength};
        request.info = &info;
        const std::int32_t code = evaluateTicket(request);
        if (code != VORAK_OK) {
            TRACE_ERROR("VorakEvalLogonTicket returns %d.\n", code);
            return code;
        }
        // A ticket without user, system or client is a success with an empty text: deliberate, callers look at the
        // lengths.
        TRACE(3, "End of function VorakEvalLogonTicket.\n");
        return code;
    });
}

QUORVANTI_API int32_t VorakEvalLogonTicketEx(const char* ticket, const char* profile, const char* password,
                                             uint8_t* certificate, uint32_t* certificateLength, TICKET_INFO* info) {
    return guarded([&] {
        TRACE(3, "VorakEvalLogonTicketEx was called.\n");
        EvaluationRequest request;
        request.ticket = ticket;
        request.length = textLength(ticket);
        request.profile = profile;
        request.password = password;
        request.certificate = {certificate, certificateLength};
        request.info = info;
        return evaluateFor("VorakEvalLogonTicketEx", request);
    });
}

QUORVANTI_API int32_t VorakEvalAssertionTicket(const char* ticket, const char* profile, const char* password,
                                               const char* ownSystemId, const char* ownClient, TICKET_INFO* info) {
    return guarded([&] {
        TRACE(3, "VorakEvalAssertionTicket was called.\n");
        EvaluationRequest request;
        request.ticket = ticket;
        request.length = textLength(ticket);
        request.profile = profile;
        request.password = password;
        request.mode = EvaluationMode::assertion;
        request.own.systemId = ownOrProperty(ownSystemId, "KAV_OWN_SYSID", "System ID");
        request.own.client = ownOrProperty(ownClient, "KAV_OWN_CLIENT", "System Client");
        request.info = info;
        return evaluateFor("VorakEvalAssertionTicket", request);
    });
}

QUORVANTI_API int32_t VorakEvalTicket(const char* ticket, uint32_t ticketLength, TICKET_INFO* info) {
    return guarded([&] {
        TRACE(3, "VorakEvalTicket was called.\n");
        EvaluationRequest request;
        request.ticket = ticket;
        request.length = ticket != nullptr ? ticketLength : 0;
        request.info = info;
        return evaluateFor("VorakEvalTicket", request);
    });
}

}  // extern "C"

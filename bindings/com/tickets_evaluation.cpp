// The operations that evaluate a ticket.
#include <quorvanti/voraksso.h>

#include "bindings/com/arguments.h"
#include "bindings/com/com_values.h"
#include "bindings/com/failure.h"
#include "bindings/com/variant_array.h"
#include "bindings/com/vctickets.h"
#include "bindings/method_trace.h"
#include "bindings/ticket_outputs.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace quorvanti::com {
namespace {

using CertificateBuffer = std::array<std::uint8_t, 4096>;

[[noreturn]] void failEvaluation(std::uint32_t result, int standardError, int ssfError) {
    char text[128];
    std::snprintf(text, sizeof text, "Ticket verifying failed. Return codes error=%d and ssf error=%d", standardError,
                  ssfError);
    throw Failure(result, text);
}

std::string encoded(std::span<const std::uint8_t> certificate) {
    if (certificate.empty()) {
        return {};
    }
    const std::optional<std::string> text = certificateText(certificate);
    if (!text.has_value()) {
        throw Failure(kEncodingFailure, "Base64 decoding error");
    }
    return *text;
}

void requireContents(const TicketOutputs& outputs) {
    if (outputs.user.length == 0 && outputs.portalUser.length == 0) {
        throw Failure(kEngineFailure, "Ticket contains no user.");
    }
    if (outputs.systemId.length == 0) {
        throw Failure(kEngineFailure, "Ticket contains no sysid.");
    }
    if (outputs.client.length == 0) {
        throw Failure(kEngineFailure, "Ticket contains no client.");
    }
}

// With both of them it is an assertion ticket.
void evaluate(BSTR ticket, BSTR addressBook, BSTR password, BSTR systemId, BSTR client, VARIANT& userInfo) {
    if (SysStringLen(ticket) == 0) {
        throw Failure(static_cast<std::uint32_t>(E_INVALIDARG), "Ticket buffer is empty");
    }
    const Text passwordText(password, kFieldRoom);
    const Text profile(addressBook, kFieldRoom, Encoding::system);
    const Text systemIdText(systemId, kFieldRoom);
    const Text clientText(client, kFieldRoom);
    const Text ticketText(ticket, kTicketRoom);
    TicketOutputs outputs;
    CertificateBuffer certificate;
    std::uint32_t certificateLength = certificate.size();
    std::int32_t code;
    if (!systemIdText.absent() && !clientText.absent()) {
        certificateLength = 0;
        code = VorakEvalAssertionTicket(ticketText.get(), profile.get(), passwordText.get(), systemIdText.get(),
                                        clientText.get(), &outputs.info);
    } else {
        code = VorakEvalLogonTicketEx(ticketText.get(), profile.get(), passwordText.get(), certificate.data(),
                                      &certificateLength, &outputs.info);
    }
    // Deliberate: the codes stay inside. What a client is told is a flag, in the form of two codes.
    if (code != VORAK_OK) {
        failEvaluation(kEvaluationFailure, 1, 0);
    }
    requireContents(outputs);
    const std::string certificateText =
        encoded({certificate.data(), std::min<std::size_t>(certificateLength, certificate.size())});
    const std::string validity = std::to_string(outputs.validity);
    userInfo = variantOf({wide(outputs.user.view()), wide(outputs.client.view()), wide(outputs.systemId.view()),
                          wide(certificateText), wide(outputs.portalUser.view()), wide(outputs.authScheme.view()),
                          wide(validity)});
}

}  // namespace

void requireIdentity(BSTR systemId, BSTR client) {
    if (SysStringLen(systemId) == 0) {
        throw Failure(static_cast<std::uint32_t>(E_INVALIDARG), "System ID is required for Assertion Tickets");
    }
    if (SysStringLen(client) == 0) {
        throw Failure(static_cast<std::uint32_t>(E_INVALIDARG), "System client is required for Assertion Tickets");
    }
}

HRESULT VCTickets::EvalLogonTicket(BSTR ticket, BSTR addressBook, BSTR password, VARIANT* userInfo) {
    return operation([&] {
        const MethodTrace trace("COM: EvalLogonTicket was called.\n", "COM: End of EvalLogonTicket.\n");
        evaluate(ticket, addressBook, password, nullptr, nullptr, place(userInfo));
    });
}

HRESULT VCTickets::EvalAssertionTicket(BSTR ticket, BSTR addressBook, BSTR password, BSTR systemId, BSTR client,
                                       VARIANT* userInfo) {
    return operation([&] {
        const MethodTrace trace("COM: EvalAssertionTicket was called.\n", "COM: End of EvalAssertionTicket.\n");
        VARIANT& result = place(userInfo);
        requireIdentity(systemId, client);
        evaluate(ticket, addressBook, password, systemId, client, result);
    });
}

HRESULT VCTickets::EvalLogonTicket2(BSTR ticket, BSTR addressBook, BSTR password, BSTR* user, BSTR* client,
                                    BSTR* systemId, BSTR* certificate) {
    return operation([&] {
        BSTR* const places[] = {user, client, systemId, certificate};
        bool missing = SysStringLen(ticket) == 0 || addressBook == nullptr || password == nullptr;
        for (BSTR* const result : places) {
            if (result == nullptr) {
                missing = true;
            } else {
                *result = nullptr;
            }
        }
        if (missing) {
            throw Failure(static_cast<std::uint32_t>(E_INVALIDARG),
                          "vorakEvalLogonTicket2: One or more arguments are NULL");
        }
        TRACE(3, "COM: EvalLogonTicket2 was called.\n");
        const Text passwordText(password, kFieldRoom);
        const Text profile(addressBook, kFieldRoom, Encoding::system);
        const Text ticketText(ticket, kTicketRoom);
        TicketText userText;
        TicketText clientText;
        TicketText systemIdText;
        CertificateBuffer certificateBytes;
        std::uint32_t certificateLength = certificateBytes.size();
        const std::int32_t code =
            VorakEvalLogonTicket(ticketText.get(), profile.get(), passwordText.get(), userText.text, &userText.length,
                                 certificateBytes.data(), &certificateLength, systemIdText.text, &systemIdText.length,
                                 clientText.text, &clientText.length);
        if (code != VORAK_OK) {
            failEvaluation(resultOfEngine(code), VORAK_STANDARD_ERROR(code), VORAK_SSF_ERROR(code));
        }
        OwnedBstr results[] = {wide(userText.view()), wide(clientText.view()), wide(systemIdText.view()),
                               wide(encoded({certificateBytes.data(), certificateLength}))};
        for (std::size_t i = 0; i < std::size(results); ++i) {
            *places[i] = results[i].release();
        }
    });
}

}  // namespace quorvanti::com

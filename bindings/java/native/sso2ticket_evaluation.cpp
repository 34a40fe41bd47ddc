// The methods that evaluate a logon ticket and an assertion ticket.
#include <quorvanti/voraksso.h>

#include "bindings/java/native/java_call.h"
#include "bindings/java/native/sso2ticket.h"
#include "bindings/ticket_outputs.h"

#include <algorithm>
#include <array>
#include <string>

using namespace quorvanti;

namespace {

constexpr char kEndOfEvaluation[] = "JAVA: End of evalLogonTicket\n";

class JavaTicketOutputs : public TicketOutputs {
public:
    jobjectArray toJava(JavaCall& call) const;

    std::array<std::uint8_t, 8192> certificate;
    std::uint32_t certificateLength = sizeof certificate;
};

// Null with an exception pending when a field is missing that a caller cannot do without.
jobjectArray JavaTicketOutputs::toJava(JavaCall& call) const {
    const struct {
        const TicketText& output;
        const char* message;
    } required[] = {
        {user, "Ticket contains no user."},
        {systemId, "Ticket contains no sysid."},
        {client, "Ticket contains no client."},
    };
    for (const auto& field : required) {
        if (field.output.length == 0) {
            call.raise(kMessageRoom, "%s", field.message);
        }
    }
    if (call.pending()) {
        return nullptr;
    }
    ObjectArray fields(call, 8);
    fields.add(call.string(user.view()));
    fields.add(call.string(systemId.view()));
    fields.add(call.string(client.view()));
    fields.add(call.bytes({certificate.data(), std::min<std::size_t>(certificateLength, certificate.size())}));
    fields.add(call.string(portalUser.view()));
    fields.add(call.string(authScheme.view()));
    fields.add(call.string(std::to_string(validity)));
    fields.add(call.string(std::to_string(info.assertion_marker)));
    return fields.result();
}

}  // namespace

JNIEXPORT jobjectArray JNICALL Java_com_vorak_sso_SSO2Ticket_evalLogonTicket(JNIEnv* env, jclass, jstring ticket,
                                                                             jstring addressBook, jstring password) {
    return javaMethod(env, [&](JavaCall& call) -> jobjectArray {
        const MethodTrace trace("JAVA: evalLogonTicket was called.\n", kEndOfEvaluation);
        JavaTicketOutputs outputs;
        {
            const TextArgument ticketText(call, ticket);
            const TextArgument profile(call, addressBook);
            const TextArgument passwordText(call, password);
            if (call.pending()) {
                return nullptr;
            }
            if (ticket == nullptr) {
                call.raise(kMessageRoom, "At least one NULL parameter passed. ticket=%p,PAB=%p",
                           static_cast<const void*>(nullptr), static_cast<const void*>(profile.get()));
                return nullptr;
            }
            const std::int32_t code =
                VorakEvalLogonTicketEx(ticketText.get(), profile.get(), passwordText.get(), outputs.certificate.data(),
                                       &outputs.certificateLength, &outputs.info);
            if (code != VORAK_OK) {
                call.raiseFailure("VorakEvalLogonTicketEx", code);
                return nullptr;
            }
        }
        return outputs.toJava(call);
    });
}

JNIEXPORT jobjectArray JNICALL Java_com_vorak_sso_SSO2Ticket_evalAssertionTicket(JNIEnv* env, jclass, jstring ticket,
                                                                                 jstring addressBook, jstring password,
                                                                                 jstring systemId, jstring client) {
    return javaMethod(env, [&](JavaCall& call) -> jobjectArray {
        // The end line is that of logon tickets, deliberately: who reads traces knows it so.
        const MethodTrace trace("JAVA: evalAssertionTicket was called.\n", kEndOfEvaluation);
        JavaTicketOutputs outputs;
        outputs.info.certificate = outputs.certificate.data();
        outputs.info.certificate_capacity = &outputs.certificateLength;
        const TextArgument ticketText(call, ticket);
        const TextArgument profile(call, addressBook);
        const TextArgument passwordText(call, password);
        const TextArgument systemIdText(call, systemId);
        const TextArgument clientText(call, client);
        if (call.pending()) {
            return nullptr;
        }
        // Deliberate: without a recipient the evaluation goes on, with the own identity of the properties, and is
        // traced; the caller gets the exception all the same.
        if (systemId == nullptr) {
            call.raise(kMessageRoom, "No SysId set");
        }
        if (client == nullptr) {
            call.raise(kMessageRoom, "No Client set");
        }
        if (ticket == nullptr) {
            call.raise(kMessageRoom, "At least one NULL parameter passed. ticket=%p",
                       static_cast<const void*>(nullptr));
            return nullptr;
        }
        const std::int32_t code = VorakEvalAssertionTicket(ticketText.get(), profile.get(), passwordText.get(),
                                                           systemIdText.get(), clientText.get(), &outputs.info);
        if (code != VORAK_OK) {
            call.raiseFailure("VorakEvalAssertionTicket", code);
            return nullptr;
        }
        return outputs.toJava(call);
    });
}

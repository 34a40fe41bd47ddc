// The method that creates an assertion ticket.
#include <quorvanti/voraksso.h>

#include "bindings/java/native/java_call.h"
#include "bindings/java/native/sso2ticket.h"

#include <cstring>

using namespace quorvanti;

namespace {

struct RequiredArgument {
    bool missing;
    const char* message;
};

}  // namespace

JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_createAssertionTicket(
    JNIEnv* env, jclass, jstring ownSystemId, jstring ownClient, jstring addressBook, jstring password,
    jstring recipientSystemId, jstring recipientClient, jstring user, jstring language, jstring portalUser,
    jstring authScheme) {
    return javaMethod(env, [&](JavaCall& call) -> jstring {
        const MethodTrace trace("JAVA: createAssertionTicket was called\n", "JAVA: End of createAssertionTicket\n");
        const TextArgument ownSystemIdText(call, ownSystemId);
        const TextArgument ownClientText(call, ownClient);
        const TextArgument profile(call, addressBook);
        const TextArgument passwordText(call, password);
        TextArgument recipientSystemIdText(call, recipientSystemId);
        TextArgument recipientClientText(call, recipientClient);
        TextArgument userText(call, user);
        TextArgument languageText(call, language);
        TextArgument portalUserText(call, portalUser);
        TextArgument authSchemeText(call, authScheme);
        if (call.pending()) {
            return nullptr;
        }
        // Deliberate: the creation is asked for all the same, so that the trace tells what was missing.
        const RequiredArgument required[] = {
            {ownSystemId == nullptr, "Local system Id not set"},
            {ownClient == nullptr, "Local system client not set"},
            {recipientSystemId == nullptr, "Recipient system Id not set"},
            {recipientClient == nullptr, "Recipient system client not set"},
            {user == nullptr && portalUser == nullptr, "Neither a KAV user nor a Portal user is set"},
        };
        for (const RequiredArgument& argument : required) {
            if (argument.missing) {
                call.raise(kMessageRoom, "%s", argument.message);
            }
        }
        AssertionContent content{};
        content.structSize = sizeof content;
        std::memcpy(content.codePage, "4110", sizeof content.codePage);  // what Java hands over is UTF-8
        content.recipientSysId = recipientSystemIdText.get();
        content.recipientSysIdLength = recipientSystemIdText.length32();
        content.recipientClient = recipientClientText.get();
        content.recipientClientLength = recipientClientText.length32();
        content.user = userText.get();
        content.userLength = userText.length32();
        content.language = languageText.get();
        content.languageLength = languageText.length32();
        content.portalUser = portalUserText.get();
        content.portalUserLength = portalUserText.length32();
        content.authScheme = authSchemeText.get();
        content.authSchemeLength = authSchemeText.length32();
        char ticket[4096];
        std::uint32_t length = sizeof ticket;
        const std::int32_t code = VorakCreateAssertionTicket(ownSystemIdText.get(), ownClientText.get(), profile.get(),
                                                             passwordText.get(), &content, ticket, &length);
        if (code != VORAK_OK) {
            call.raiseFailure("VorakCreateAssertionTicket", code);
            return nullptr;
        }
        return call.string({ticket, length});
    });
}

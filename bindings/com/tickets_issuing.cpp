// The operation that creates an assertion ticket.
#include <quorvanti/voraksso.h>

#include "bindings/com/arguments.h"
#include "bindings/com/com_values.h"
#include "bindings/com/failure.h"
#include "bindings/com/vctickets.h"
#include "bindings/method_trace.h"

#include <cstdio>
#include <cstring>

namespace quorvanti::com {

HRESULT VCTickets::CreateAssertionTicket(BSTR ownSystemId, BSTR ownClient, BSTR addressBook, BSTR password,
                                         BSTR recipientSystemId, BSTR recipientClient, BSTR user, BSTR language,
                                         BSTR portalUser, BSTR authScheme, BSTR* ticket) {
    return operation([&] {
        const MethodTrace trace("COM: CreateAssertionTicket was called.\n", "COM: End of CreateAssertionTicket.\n");
        BSTR& result = place(ticket);
        requireIdentity(ownSystemId, ownClient);
        const Text ownSystemIdText(ownSystemId, kFieldRoom);
        const Text ownClientText(ownClient, kFieldRoom);
        const Text profile(addressBook, kFieldRoom, Encoding::system);
        const Text passwordText(password, kFieldRoom);
        const Text recipientSystemIdText(recipientSystemId, kFieldRoom);
        const Text recipientClientText(recipientClient, kFieldRoom);
        // How long these may be the engine knows.
        const Text userText(user);
        const Text languageText(language);
        const Text portalUserText(portalUser);
        const Text authSchemeText(authScheme);
        AssertionContent content{};
        content.structSize = sizeof content;
        std::memcpy(content.codePage, "4110", sizeof content.codePage);
        content.recipientSysId = recipientSystemIdText.get();
        content.recipientSysIdLength = recipientSystemIdText.length();
        content.recipientClient = recipientClientText.get();
        content.recipientClientLength = recipientClientText.length();
        content.user = userText.get();
        content.userLength = userText.length();
        content.language = languageText.get();
        content.languageLength = languageText.length();
        content.portalUser = portalUserText.get();
        content.portalUserLength = portalUserText.length();
        content.authScheme = authSchemeText.get();
        content.authSchemeLength = authSchemeText.length();
        char text[4096];
        std::uint32_t length = sizeof text;
        const std::int32_t code = VorakCreateAssertionTicket(ownSystemIdText.get(), ownClientText.get(), profile.get(),
                                                             passwordText.get(), &content, text, &length);
        if (code != VORAK_OK) {
            char description[128];
            std::snprintf(description, sizeof description,
                          "Ticket creation failed. Return codes error=%d and ssf error=%d", VORAK_STANDARD_ERROR(code),
                          VORAK_SSF_ERROR(code));
            throw Failure(resultOfEngine(code), description);
        }
        result = wide({text, length}).release();
    });
}

}  // namespace quorvanti::com

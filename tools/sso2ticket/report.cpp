#include "tools/sso2ticket/report.h"

#include "tools/sso2ticket/output.h"

namespace quorvanti {

std::string acceptedText(const TicketContents& contents, const Signer& signer) {
    return "accepted\n" + row("user", contents.user) + row("system id", contents.systemId) +
           row("client", contents.client) + row("language", contents.language) +
           row("created", utcText(contents.creationTime)) +
           row("valid for", durationText(contents.validity) + format(" (%d s)", contents.validity)) +
           row("portal user", contents.portalUser) + row("authentication scheme", contents.authScheme) +
           row("flags", format("0x%02X", contents.flags)) +
           row("recipient", contents.recipientMatched ? "this system" : "not named") + row("signer", signer.subject) +
           row("issued by", signer.issuer) + row("serial number", signer.serialNumber) +
           row("fingerprint (SHA-256)", signer.fingerprint);
}

std::string acceptedJson(const TicketContents& contents, const Signer& signer) {
    return dump({{"accepted", true},
                 {"user", contents.user},
                 {"systemId", contents.systemId},
                 {"client", contents.client},
                 {"language", contents.language},
                 {"creationTime", utcText(contents.creationTime)},
                 {"validitySeconds", contents.validity},
                 {"portalUser", contents.portalUser},
                 {"authenticationScheme", contents.authScheme},
                 {"flags", contents.flags},
                 {"recipientMatched", contents.recipientMatched},
                 {"signer",
                  {{"subject", signer.subject},
                   {"issuer", signer.issuer},
                   {"serialNumber", signer.serialNumber},
                   {"fingerprint", signer.fingerprint}}}});
}

std::string rejectedText(const Explanation& explanation) {
    std::string code = std::to_string(explanation.code);
    if (explanation.ssfError != 0) {
        code += format(" (standard error %d, ssf error %d)", explanation.standardError, explanation.ssfError);
    }
    return "rejected\n" + row("code", code) + row("name", explanation.name) + row("meaning", explanation.meaning) +
           row("look at", explanation.next);
}

std::string rejectedJson(const Explanation& explanation) {
    return dump({{"accepted", false},
                 {"code", explanation.code},
                 {"standardError", explanation.standardError},
                 {"ssfError", explanation.ssfError},
                 {"name", explanation.name},
                 {"meaning", explanation.meaning},
                 {"next", explanation.next}});
}

}  // namespace quorvanti

#include "tools/sso2ticket/verify_command.h"

#include "tools/sso2ticket/explain.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/report.h"
#include "tools/sso2ticket/ticket_input.h"

#include <quorvanti/voraksso.h>

#include <ctime>
#include <istream>
#include <ostream>
#include <utility>

namespace quorvanti {

namespace {

constexpr std::size_t profileLimit = 132;  // the library would cut a longer name without a word

// What the recipient is compared with when nothing was said.
std::string ownIdentity(const std::optional<std::string>& given, bool assertion, const std::string& what) {
    if (given) {
        return *given;
    }
    const char* value = QuorvantiGetProperty(((assertion ? "KAV_OWN_" : "KAV_EXT_") + what).c_str());
    return value != nullptr ? value : "";
}

}  // namespace

ExitCode verify(VerifyOptions options, std::istream& in, std::ostream& out) {
    if (options.request.profile.size() > profileLimit) {
        throw Failure(ExitCode::configuration, "the path of the key store is longer than 132 characters");
    }
    options.request.ticket = readTicket(options.ticket, in);
    if (std::optional<Secret> password = readPassword(options.password)) {
        options.request.password.emplace(std::move(*password));
    }
    const LibrarySession session(options.session);
    TicketContents contents;
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    const std::int32_t code = session.evaluate(options.request, contents);
    const Explanation explanation = explain(code);
    const Signer signer = describeSigner(contents.certificate);
    const bool accepted = code == VORAK_OK;
    std::vector<Check> checks;
    if (options.explain) {
        const EvaluationRequest& request = options.request;
        const EvaluationFacts facts{code,
                                    now,
                                    request.assertion,
                                    request.ticket.size(),
                                    ownIdentity(request.systemId, request.assertion, "SYSID"),
                                    ownIdentity(request.client, request.assertion, "CLIENT"),
                                    signer.subject};
        checks = explainChecks(dissect(request.ticket), facts);
    }
    if (options.json) {
        Json json = Json::parse(accepted ? acceptedJson(contents, signer) : rejectedJson(explanation));
        if (options.explain) {
            json["checks"] = checksJson(checks);
        }
        out << dump(json);
    } else {
        out << (accepted ? acceptedText(contents, signer) : rejectedText(explanation))
            << (options.explain ? checksText(checks) : "");
    }
    return explanation.exit;
}

}  // namespace quorvanti

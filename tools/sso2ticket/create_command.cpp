#include "tools/sso2ticket/create_command.h"

#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/output.h"
#include "tools/sso2ticket/ticket_dissection.h"
#include "tools/sso2ticket/ticket_input.h"

#include <quorvanti/voraksso.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ostream>

namespace quorvanti {

namespace {

constexpr std::size_t ticketRoom = 4096;  // the library writes no longer one
constexpr std::int32_t unknownSigner = 22;
constexpr std::size_t profileLimit = 131;  // the library would cut a longer name without a word

// A text with its length, as the library wants them; null for none.
class TextInput {
public:
    TextInput(const std::string& text, const char*& pointer, const std::uint32_t*& length)
        : length_(static_cast<std::uint32_t>(text.size())) {
        if (!text.empty()) {
            pointer = text.data();
            length = &length_;
        }
    }
    TextInput(const TextInput&) = delete;
    TextInput& operator=(const TextInput&) = delete;

private:
    std::uint32_t length_;
};

std::int32_t create(const CreateOptions& options, const std::optional<Secret>& password, std::string& ticket) {
    AssertionContent content{};
    content.structSize = sizeof content;
    std::copy_n(options.codePage.begin(), std::min(options.codePage.size(), sizeof content.codePage), content.codePage);
    const TextInput recipient(options.recipientSystemId, content.recipientSysId, content.recipientSysIdLength);
    const TextInput client(options.recipientClient, content.recipientClient, content.recipientClientLength);
    const TextInput user(options.user, content.user, content.userLength);
    const TextInput language(options.language, content.language, content.languageLength);
    const TextInput portalUser(options.portalUser, content.portalUser, content.portalUserLength);
    const TextInput authScheme(options.authScheme, content.authScheme, content.authSchemeLength);
    std::array<char, ticketRoom> text{};
    auto length = static_cast<std::uint32_t>(text.size());
    const std::int32_t code =
        VorakCreateAssertionTicket(options.systemId.c_str(), options.client.c_str(), options.profile.c_str(),
                                   password ? password->text() : nullptr, &content, text.data(), &length);
    if (code == VORAK_OK) {
        ticket.assign(text.data(), std::min<std::size_t>(length, text.size()));
    }
    return code;
}

void chooseSigning(const CreateOptions& options) {
    // The library's own default is older than what signatures should have today.
    const char* chosen = std::getenv("SSF_HASH");
    const bool unset = chosen == nullptr || *chosen == '\0';
    if (!options.hash.empty() || unset) {
        QuorvantiSetProperty("SSF_HASH", options.hash.empty() ? "SHA256" : options.hash.c_str());
    }
    if (options.includeCertificate) {
        QuorvantiSetProperty("SSF_INCLUDE_CERT", "1");
    }
}

// The catalogue speaks of the signers of tickets that are evaluated.
Explanation explainSigning(std::int32_t code) {
    Explanation explanation = explain(code);
    if (VORAK_STANDARD_ERROR(code) == VORAK_INVALID && VORAK_SSF_ERROR(code) == unknownSigner) {
        explanation.meaning = "The key store has no own key to sign with.";
        explanation.next =
            "Give one with a private key and its certificate; sso2ticket keystore list shows what is in it.";
        explanation.exit = ExitCode::configuration;
    }
    return explanation;
}

std::string createdJson(const std::string& ticket) {
    const Dissection dissection = dissect(tidyTicket(ticket));
    const auto created = creationTime(dissection);
    const auto life = lifetime(dissection);
    return dump({{"created", true},
                 {"ticket", ticket},
                 {"creationTime", created ? Json(utcText(*created)) : Json()},
                 {"expires", created && life ? Json(utcText(*created + *life)) : Json()}});
}

}  // namespace

ExitCode createTicket(const CreateOptions& options, std::ostream& out) {
    if (options.profile.size() > profileLimit) {
        throw Failure(ExitCode::configuration, "the path of the key store is longer than 131 characters");
    }
    const std::optional<Secret> password = readPassword(options.password);
    const LibrarySession session(options.session);
    chooseSigning(options);
    std::string ticket;
    if (const std::int32_t code = create(options, password, ticket); code != VORAK_OK) {
        const Explanation explanation = explainSigning(code);
        if (!options.json) {
            throw Failure(explanation.exit, "no ticket was made, code " + std::to_string(code) + " (" +
                                                explanation.name + "): " + explanation.meaning + " " +
                                                explanation.next);
        }
        out << dump({{"created", false},
                     {"code", explanation.code},
                     {"standardError", explanation.standardError},
                     {"ssfError", explanation.ssfError},
                     {"name", explanation.name},
                     {"meaning", explanation.meaning},
                     {"next", explanation.next}});
        return explanation.exit;
    }
    out << (options.json ? createdJson(ticket) : ticket + "\n");
    return ExitCode::accepted;
}

}  // namespace quorvanti

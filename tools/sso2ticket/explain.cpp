#include "tools/sso2ticket/explain.h"

#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/signature_info.h"

#include <quorvanti/voraksso.h>

namespace quorvanti {

namespace {

constexpr std::size_t textLimit = 4095;

// In the order of evaluation.
enum class Step { length, base64, structure, signature, texts, age, recipient, flags, result, count };

constexpr const char* names[] = {
    "length of the text", "base64", "structure", "signature", "conversion of texts", "age",
    "recipient",          "flags",  "result",
};
static_assert(std::size(names) == static_cast<std::size_t>(Step::count));

std::string unitText(const Dissection& ticket, std::uint8_t id) {
    const DissectedUnit* unit = effectiveUnit(ticket, id);
    return unit != nullptr ? "\"" + valueText(*unit, ticket.codePage) + "\"" : "none";
}

// Trailing blanks do not count, and neither does what is beyond the field.
std::string field(const DissectedUnit& unit, const std::string& codePage, std::size_t width) {
    std::string text = valueText(unit, codePage).substr(0, width);
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

bool recipientFits(const Dissection& ticket, const EvaluationFacts& facts) {
    const DissectedUnit* system = effectiveUnit(ticket, 0x10);
    const DissectedUnit* client = effectiveUnit(ticket, 0x0F);
    if (system == nullptr && client == nullptr) {
        return !facts.assertion;
    }
    return system != nullptr && client != nullptr && field(*system, ticket.codePage, 8) == facts.ownSystemId &&
           field(*client, ticket.codePage, 3) == facts.ownClient;
}

// A structure that evaluation refuses, or the decoder's problem when it got that far.
bool wellFormed(const Dissection& ticket) {
    return ticket.problem.empty();
}

Step stepOfMalformed(const Dissection& ticket) {
    return wellFormed(ticket) ? Step::age : Step::structure;  // what else is malformed is the creation time
}

Step failedStep(const Dissection& ticket, const EvaluationFacts& facts) {
    if (VORAK_SSF_ERROR(facts.code) != 0 && facts.code > 0) {
        return Step::signature;
    }
    switch (facts.code) {
        case VORAK_NOT_BASE64:
            return Step::base64;
        case VORAK_MALFORMED:
            return stepOfMalformed(ticket);
        case VORAK_INVALID:
            return facts.textLength > textLimit ? Step::length : wellFormed(ticket) ? Step::texts : Step::structure;
        case VORAK_TICKET_EXPIRED:
        case VORAK_NO_CREATION_TIME:
            return Step::age;
        case VORAK_NOT_FOR_US:
            return recipientFits(ticket, facts) ? Step::flags : Step::recipient;
        case VORAK_NO_USER:
        case VORAK_BUFFER_TOO_SMALL:
        case VORAK_USER_BUFFER_TOO_SMALL:
            return Step::result;
        case VORAK_NO_MEMORY:
            return Step::structure;
        case VORAK_CRYPTO_FUNCTION_MISSING:
        case VORAK_CRYPTO_FAILED:
        case VORAK_NO_CERTIFICATE:
        case VORAK_NO_SIGNER_LIST:
            return Step::signature;
        default:
            return facts.code == VORAK_OK ? Step::count : Step::texts;
    }
}

std::string structureText(const Dissection& ticket) {
    return !wellFormed(ticket) ? ticket.problem
                               : std::to_string(ticket.units.size()) + " units, code page " + ticket.codePage +
                                     ", signature of " + std::to_string(ticket.signature.size()) + " bytes";
}

std::string signatureText(const Dissection& ticket, const EvaluationFacts& facts, bool failed) {
    const SignatureInfo info = describeSignature(ticket.signature);
    std::string text = info.digest + ", " + info.algorithm;
    if (!info.readable) {
        text = "no PKCS#7 signed data";
    } else if (!facts.signer.empty()) {
        text += ", signed by " + facts.signer;
    } else if (info.keyIdentifier.empty()) {
        text += ", says that a certificate issued by " + info.issuer + " with serial number " + info.serialNumber +
                " signed";
    } else {
        text += ", says that the key " + info.keyIdentifier + " signed";
    }
    return failed ? text + ": " + explain(facts.code).meaning : text;
}

std::string ageText(const Dissection& ticket, const EvaluationFacts& facts) {
    const auto created = creationTime(ticket);
    const auto life = lifetime(ticket);
    if (!created) {
        return "creation time: " + unitText(ticket, 0x04);
    }
    if (!life) {
        return "created " + utcText(*created) + ", without a validity";
    }
    return "created " + utcText(*created) + ", valid for " + durationText(*life) + " until " +
           utcText(*created + *life) + ", now " + utcText(facts.now);
}

std::string recipientText(const Dissection& ticket, const EvaluationFacts& facts) {
    if (effectiveUnit(ticket, 0x10) == nullptr && effectiveUnit(ticket, 0x0F) == nullptr) {
        return facts.assertion ? "the ticket names none, an assertion ticket must" : "the ticket names none";
    }
    return "ticket: system id " + unitText(ticket, 0x10) + ", client " + unitText(ticket, 0x0F) +
           "; here: system id \"" + facts.ownSystemId + "\", client \"" + facts.ownClient + "\"";
}

std::string flagsText(const Dissection& ticket, const EvaluationFacts& facts) {
    const DissectedUnit* flags = effectiveUnit(ticket, 0x08);
    const std::string text = flags != nullptr ? unitText(ticket, 0x08) : "the ticket has none";
    return facts.assertion ? text + "; an assertion ticket needs bit 0" : text + "; a logon ticket needs none";
}

std::string compared(Step step, const Dissection& ticket, const EvaluationFacts& facts, bool failed) {
    switch (step) {
        case Step::length:
            return std::to_string(facts.textLength) + " characters, up to " + std::to_string(textLimit);
        case Step::base64:
            return ticket.base64 ? "every character is one of base64" : "a character is not one of base64";
        case Step::structure:
            return structureText(ticket);
        case Step::signature:
            return signatureText(ticket, facts, failed);
        case Step::texts:
            return "from code page " + ticket.codePage + (failed ? ": " + explain(facts.code).meaning : "");
        case Step::age:
            return ageText(ticket, facts);
        case Step::recipient:
            return recipientText(ticket, facts);
        case Step::flags:
            return flagsText(ticket, facts);
        case Step::result:
        case Step::count:
            break;
    }
    return failed ? explain(facts.code).meaning : "user " + unitText(ticket, 0x01);
}

const char* stateName(CheckState state) {
    switch (state) {
        case CheckState::passed:
            return "passed";
        case CheckState::failed:
            return "failed";
        case CheckState::notReached:
            break;
    }
    return "not reached";
}

}  // namespace

std::vector<Check> explainChecks(const Dissection& ticket, const EvaluationFacts& facts) {
    const Step failed = failedStep(ticket, facts);
    std::vector<Check> checks;
    for (std::size_t i = 0; i < std::size(names); ++i) {
        const auto step = static_cast<Step>(i);
        const CheckState state = step < failed    ? CheckState::passed
                                 : step == failed ? CheckState::failed
                                                  : CheckState::notReached;
        checks.push_back(
            {names[i], state,
             state == CheckState::notReached ? "" : compared(step, ticket, facts, state == CheckState::failed)});
    }
    return checks;
}

std::string checksText(const std::vector<Check>& checks) {
    std::string text = "checks\n";
    for (const Check& check : checks) {
        const std::string name = "  " + check.name;
        text += name + std::string(23 - name.size(), ' ') + row(stateName(check.state), check.compared, 13);
    }
    return text;
}

Json checksJson(const std::vector<Check>& checks) {
    Json json = Json::array();
    for (const Check& check : checks) {
        json.push_back({{"check", check.name}, {"state", stateName(check.state)}, {"compared", check.compared}});
    }
    return json;
}

}  // namespace quorvanti

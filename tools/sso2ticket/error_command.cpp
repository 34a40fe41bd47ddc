#include "tools/sso2ticket/error_command.h"

#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/code_causes.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/output.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <optional>
#include <ostream>

namespace quorvanti {

namespace {

struct Asked {
    CodeKind kind;
    std::int32_t code;
};

// Callers print return codes signed or unsigned.
std::optional<std::int32_t> number(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long value =
        std::strtoll(text.c_str(), &end, text.starts_with("0x") || text.starts_with("0X") ? 16 : 10);
    const bool whole = !text.empty() && *end == '\0' && errno == 0;
    if (!whole || value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

Asked parse(const std::string& text) {
    if (const auto code = number(text)) {
        return {CodeKind::plain, *code};
    }
    const auto catalogue = codeCatalogue();
    const auto found =
        std::find_if(catalogue.begin(), catalogue.end(), [&](const CodeEntry& entry) { return text == entry.name; });
    if (found == catalogue.end()) {
        throw Failure(ExitCode::usage, text + " is neither a number nor the name of a return code");
    }
    return {found->kind, found->code};
}

// What is printed, one part after the other.
struct Answer {
    Explanation explanation;
    std::string causes;
    std::string other;  // what the same number is among the crypto library's codes
    bool known;
};

std::string orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

Answer answerTo(const Asked& asked) {
    if (asked.kind != CodeKind::plain) {
        const CodeEntry& entry = *findCode(asked.kind, asked.code);
        return {{asked.code, 0, asked.code, entry.name, entry.meaning, entry.next, entry.exit},
                orEmpty(likelyCauses(asked.kind, asked.code)),
                "",
                true};
    }
    const Explanation explanation = explain(asked.code);
    const bool combined = explanation.ssfError != 0 && asked.code > 0;
    const CodeKind kind = combined ? CodeKind::crypto : CodeKind::plain;
    const std::int32_t reason = combined ? explanation.ssfError : asked.code;
    const CodeEntry* other = combined ? nullptr : findCode(CodeKind::crypto, asked.code);
    const bool outerKnown = !combined || findCode(CodeKind::combined, explanation.standardError) != nullptr ||
                            findCode(CodeKind::crypto, explanation.standardError) != nullptr;
    return {explanation, orEmpty(likelyCauses(kind, reason)),
            other != nullptr ? std::string(other->name) + ": " + other->meaning : "",
            outerKnown && findCode(kind, reason) != nullptr};
}

std::string text(const Answer& answer) {
    const Explanation& explanation = answer.explanation;
    const bool combined = explanation.standardError != 0 && explanation.ssfError != 0 && explanation.code > 0;
    return row("code", format("%d (0x%08X)", explanation.code, static_cast<unsigned>(explanation.code))) +
           (combined ? row("standard error", std::to_string(explanation.standardError)) +
                           row("ssf error", std::to_string(explanation.ssfError))
                     : "") +
           row("name", explanation.name) + row("meaning", explanation.meaning) +
           (answer.causes.empty() ? "" : row("likely causes", answer.causes)) +
           (explanation.next.empty() ? "" : row("what to do", explanation.next)) +
           (answer.other.empty() ? "" : row("as an ssf error", answer.other));
}

std::string json(const Answer& answer) {
    const Explanation& explanation = answer.explanation;
    return dump({{"known", answer.known},
                 {"code", explanation.code},
                 {"standardError", explanation.standardError},
                 {"ssfError", explanation.ssfError},
                 {"name", explanation.name},
                 {"meaning", explanation.meaning},
                 {"likelyCauses", answer.causes},
                 {"next", explanation.next},
                 {"asSsfError", answer.other}});
}

}  // namespace

ExitCode explainError(const ErrorOptions& options, std::ostream& out) {
    const Answer answer = answerTo(parse(options.code));
    out << (options.json ? json(answer) : text(answer));
    return answer.known ? ExitCode::accepted : ExitCode::rejected;
}

}  // namespace quorvanti

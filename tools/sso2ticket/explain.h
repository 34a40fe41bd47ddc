// The checks of an evaluation one by one: which passed, which failed, which were not reached, and what was compared.
#pragma once

#include "tools/sso2ticket/library_session.h"
#include "tools/sso2ticket/output.h"
#include "tools/sso2ticket/ticket_dissection.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quorvanti {

enum class CheckState { passed, failed, notReached };

struct Check {
    std::string name;
    CheckState state;
    std::string compared;
};

struct EvaluationFacts {
    std::int32_t code;  // what the library answered
    std::int64_t now;   // seconds since 1970
    bool assertion;
    std::size_t textLength;
    std::string ownSystemId;  // what the recipient is compared with
    std::string ownClient;
    std::string signer;  // subject of an accepted signer's certificate
};

// Decided from the library's answer and what the ticket says; nothing is verified again.
std::vector<Check> explainChecks(const Dissection& ticket, const EvaluationFacts& facts);

std::string checksText(const std::vector<Check>& checks);
Json checksJson(const std::vector<Check>& checks);

}  // namespace quorvanti

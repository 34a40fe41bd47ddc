// Whom a ticket is meant for: its recipient units against the own identity.
#pragma once

#include "sec/voraksso/infounit.h"

#include <cstdint>
#include <string>

namespace quorvanti {

enum class EvaluationMode { logon, assertion };

// Empty where there is none.
struct OwnIdentity {
    std::string systemId;
    std::string client;
};

// 0, or 23 with a line that says why. `matched` becomes true when the ticket names a recipient and that is us. The own
// identity of logon mode is read from the properties; `given` is that of assertion mode.
std::int32_t checkRecipient(const ContentList& contents, EvaluationMode mode, const OwnIdentity& given, bool& matched);

// 0, or 23 for an assertion ticket without its flag.
std::int32_t checkFlags(const ContentNode* flags, EvaluationMode mode);

}  // namespace quorvanti

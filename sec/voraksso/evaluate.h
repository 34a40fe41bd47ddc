// Evaluates one ticket: the way that all entry points share.
#pragma once

#include <quorvanti/voraksso.h>

#include "sec/voraksso/recipient.h"
#include "sec/voraksso/ticket_info.h"

#include <cstddef>
#include <cstdint>

namespace quorvanti {

struct EvaluationRequest {
    const char* ticket = nullptr;  // null: length 0
    std::size_t length = 0;
    const char* profile = nullptr;  // null or empty: the cached ticket key
    const char* password = nullptr;
    CertificateOutput certificate;  // the entry point's own
    EvaluationMode mode = EvaluationMode::logon;
    OwnIdentity own;  // of assertion mode
    TICKET_INFO* info = nullptr;
};

std::int32_t evaluateTicket(const EvaluationRequest& request);

}  // namespace quorvanti

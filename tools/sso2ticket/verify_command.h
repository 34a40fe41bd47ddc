// sso2ticket verify: evaluates one ticket and reports what it says.
#pragma once

#include "tools/sso2ticket/exit_code.h"
#include "tools/sso2ticket/library_session.h"
#include "tools/sso2ticket/password.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct VerifyOptions {
    std::string ticket;  // the text, "@file" or "-"
    PasswordSource password;
    SessionSettings session;
    EvaluationRequest request;  // all but ticket and password
    bool explain = false;       // the checks one by one, behind the result
    bool json = false;
};

// Throws Failure where there is no result to report.
ExitCode verify(VerifyOptions options, std::istream& in, std::ostream& out);

}  // namespace quorvanti

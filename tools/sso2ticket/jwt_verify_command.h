// sso2ticket jwt verify: evaluates one JSON Web Token and reports what it says.
#pragma once

#include "tools/sso2ticket/exit_code.h"
#include "tools/sso2ticket/library_session.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace quorvanti {

struct JwtVerifyOptions {
    std::string token;       // the text, "@file" or "-"
    std::string keyFile;     // either this one: a certificate or public key,
    std::string secretFile;  // or this one
    std::optional<std::string> subject;
    std::optional<std::string> issuer;
    std::optional<std::string> audience;
    std::optional<std::string> jsonId;
    std::string nameIdClaim;  // empty: none is asked for
    SessionSettings session;
    bool json = false;
};

// Throws Failure where there is no result to report.
ExitCode verifyToken(const JwtVerifyOptions& options, std::istream& in, std::ostream& out);

}  // namespace quorvanti

// sso2ticket create: issues an assertion ticket.
#pragma once

#include "tools/sso2ticket/exit_code.h"
#include "tools/sso2ticket/library_session.h"
#include "tools/sso2ticket/password.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct CreateOptions {
    std::string systemId;  // of the issuer
    std::string client;
    std::string recipientSystemId;
    std::string recipientClient;
    std::string user;
    std::string portalUser;
    std::string language;
    std::string authScheme;
    std::string codePage = "4110";
    std::string profile;
    PasswordSource password;
    std::string hash;  // empty: SSF_HASH, else SHA256
    bool includeCertificate = false;
    SessionSettings session;
    bool json = false;
};

// The ticket's text on `out`, and nothing else unless JSON is asked for. Throws Failure when none is made.
ExitCode createTicket(const CreateOptions& options, std::ostream& out);

}  // namespace quorvanti

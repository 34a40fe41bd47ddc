// sso2ticket cert: the attributes of certificates, as the crypto library reads them.
#pragma once

#include "tools/sso2ticket/exit_code.h"
#include "tools/sso2ticket/library_session.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct CertOptions {
    std::string file;       // "-" for standard input
    std::string attribute;  // empty: all
    SessionSettings session;
    bool json = false;
};

// Rejected: an attribute cannot be read. Throws Failure when the file holds no certificate.
ExitCode showCertificates(const CertOptions& options, std::istream& in, std::ostream& out);

}  // namespace quorvanti

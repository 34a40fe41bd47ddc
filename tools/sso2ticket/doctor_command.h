// sso2ticket doctor: looks at everything around a ticket that can be wrong.
#pragma once

#include "tools/sso2ticket/exit_code.h"
#include "tools/sso2ticket/password.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct DoctorOptions {
    std::string cryptoLibrary;
    std::string profile;  // empty: none is looked at
    PasswordSource password;
    std::string traceFile;  // empty: the one that KAV_EXT_TRC names
    bool json = false;
};

// Accepted: nothing is wrong. What is wrong is listed at the end.
ExitCode doctor(const DoctorOptions& options, std::ostream& out);

}  // namespace quorvanti

// Where the key store's password comes from. There is no way to give it on the command line, where everybody sees it.
#pragma once

#include "tools/sso2ticket/secret.h"

#include <optional>
#include <string>

namespace quorvanti {

// At most one of them is set; none: the key store needs no password.
struct PasswordSource {
    std::string file;         // its first line
    std::string environment;  // the name of a variable
    bool prompt = false;
};

// Throws Failure when the source cannot be read.
std::optional<Secret> readPassword(const PasswordSource& source);

// The password for a key store that is written; one is required.
Secret readNewPassword(const PasswordSource& source);

}  // namespace quorvanti

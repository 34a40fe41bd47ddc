// sso2ticket keystore: makes and keeps key stores.
#pragma once

#include "tools/sso2ticket/exit_code.h"
#include "tools/sso2ticket/password.h"

#include <iosfwd>
#include <string>

namespace quorvanti {

struct KeystoreOptions {
    std::string file;
    PasswordSource password;
    bool json = false;
};

struct KeystoreCreateOptions : KeystoreOptions {
    std::string subject;  // "CN=..., O=..., C=.."
    std::string keyType = "rsa-3072";
    int days = 730;
};

struct KeystoreTrustOptions : KeystoreOptions {
    std::string certificates;  // file
    bool create = false;       // the key store if there is none
};

struct KeystoreExportOptions : KeystoreOptions {
    int number = 1;  // as `list` counts
    bool der = false;
};

struct KeystorePasswordOptions : KeystoreOptions {
    PasswordSource newPassword;
};

// Each throws Failure when the key store is not as asked for; then a file that was there is as it was.
ExitCode createKeystore(const KeystoreCreateOptions& options, std::ostream& out);
ExitCode listKeystore(const KeystoreOptions& options, std::ostream& out);
ExitCode addTrusted(const KeystoreTrustOptions& options, std::istream& in, std::ostream& out);
ExitCode exportCertificate(const KeystoreExportOptions& options, std::ostream& out);
ExitCode changePassword(const KeystorePasswordOptions& options, std::ostream& out);

}  // namespace quorvanti

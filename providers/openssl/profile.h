// Changes to key stores: making them, adding what is trusted, setting another password.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "providers/openssl/openssl_context.h"
#include "providers/openssl/secret_text.h"
#include "quorvanti/ssf.h"

struct SsfProfile {
    std::string name;
    quorvanti::provider::SecretText password;
    quorvanti::provider::LiveObject alive;
};

namespace quorvanti::provider {

// An empty key store: a new PKCS#12 file, or a key store in memory that is there already and loses what it held.
std::int32_t createProfile(std::string_view name, const SecretText& password);

// Adds a trusted certificate; one that is trusted already changes nothing.
std::int32_t addTrusted(const SsfProfile& profile, const SsfCertificate& certificate);

std::int32_t changePassword(std::string_view name, const SecretText& before, const SecretText& after);

}  // namespace quorvanti::provider

// Key stores and their passwords under the names of the kavsecu set.
#include "providers/openssl/boundary.h"
#include "providers/openssl/key_store.h"
#include "providers/openssl/profile.h"
#include "quorvanti/ssf_kavsecu.h"

using namespace quorvanti::provider;

namespace {

bool isProfile(const char* profile, int32_t profileLength) {
    return profile != nullptr && profileLength > 0;
}

}  // namespace

int32_t kav_secin(const char* profile, int32_t profileLength, int32_t* needsPassword) {
    if (needsPassword != nullptr)
        *needsPassword = 0;
    if (!isProfile(profile, profileLength) || needsPassword == nullptr)
        return invalidArguments("kav_secin");
    return boundary([&] {
        std::shared_ptr<const KeyStore> store;
        const std::int32_t result = openKeyStore(textOf(profile, profileLength), {}, store);
        *needsPassword = result == SSF_API_INVALID_PASSWORD ? 1 : 0;
        return *needsPassword != 0 ? SSF_API_OK : result;
    });
}

int32_t kav_seclogin(const char* profile, int32_t profileLength, const char* password, int32_t passwordLength) {
    if (!isProfile(profile, profileLength) || !isRange(password, passwordLength))
        return invalidArguments("kav_seclogin");
    return boundary([&] {
        std::shared_ptr<const KeyStore> store;
        return openKeyStore(textOf(profile, profileLength), textOf(password, passwordLength), store);
    });
}

int32_t sec_open(const char* profile, int32_t profileLength, const char* password, int32_t passwordLength,
                 SsfProfile** handle) {
    return SsfOpenProfile(profile, profileLength, password, passwordLength, handle);
}

int32_t sec_close(SsfProfile** handle) {
    return SsfCloseProfile(handle);
}

int32_t sec_chpin(const char* profile, int32_t profileLength, const char* oldPassword, int32_t oldPasswordLength,
                  const char* newPassword, int32_t newPasswordLength) {
    if (!isProfile(profile, profileLength) || !isRange(oldPassword, oldPasswordLength) ||
        !isRange(newPassword, newPasswordLength))
        return invalidArguments("sec_chpin");
    return boundary([&] {
        return changePassword(textOf(profile, profileLength), SecretText(textOf(oldPassword, oldPasswordLength)),
                              SecretText(textOf(newPassword, newPasswordLength)));
    });
}

#include "providers/openssl/profile.h"

#include <algorithm>
#include <mutex>

#include "providers/openssl/boundary.h"
#include "providers/openssl/certificate.h"
#include "providers/openssl/key_store.h"
#include "providers/openssl/key_store_file.h"
#include "providers/openssl/pkcs12_writer.h"
#include "providers/openssl/private_file.h"

namespace quorvanti::provider {
namespace {

constexpr std::size_t largestFile = 16U << 20U;

// Between reading a file and writing it, nobody of this process writes another.
std::mutex filesMutex;

std::string quoted(std::string_view name) {
    return std::string(1, '"').append(name).append(1, '"');
}

std::int32_t checkNewPassword(const SecretText& password) {
    if (password.hasNul())
        return fail(SSF_API_INVALID_FUNCARGS, "A password of a key store cannot contain a NUL character.");
    return SSF_API_OK;
}

// Other kinds are only read: their content may be more than what is understood of it.
bool isPkcs12File(const std::string& path) {
    std::vector<std::uint8_t> content;
    FileStamp stamp;
    if (readFile(path, largestFile, content, stamp) != FileState::ok)
        return false;
    const unsigned char* position = content.data();
    const Pkcs12Ptr file(d2i_PKCS12(nullptr, &position, static_cast<long>(content.size())));
    OPENSSL_cleanse(content.data(), content.size());
    return file != nullptr;
}

Pkcs12Content contentOf(const KeyStore& store) {
    Pkcs12Content content{store.ownKey.get(), nullptr, {}};
    for (const auto& trusted : store.trusted) {
        if (store.ownKey != nullptr && trusted.get() == store.own)
            content.own = trusted->certificate.get();
        else
            content.others.push_back(trusted->certificate.get());
    }
    return content;
}

std::int32_t rewrite(const std::string& name, const Pkcs12Content& content, const SecretText& password) {
    if (content.key != nullptr && content.own == nullptr)
        return fail(SSF_API_INVALID_PROFILE,
                    "The key store " + quoted(name) + " has a private key without certificate.");
    const auto bytes = writePkcs12(content, password);
    if (bytes.empty())
        return fail(SSF_API_ENCODE_FAILED, "OpenSSL could not write the key store " + quoted(name) + " anew.");
    const WriteState state = replacePrivateFile(name, bytes);
    forgetKeyStoreFile(name);
    if (state != WriteState::ok)
        return fail(SSF_API_PROFILE_LOCKED,
                    "The key store " + quoted(name) + " could not be replaced: check file, directory and free space.");
    return SSF_API_OK;
}

std::int32_t openForChange(const std::string& name, std::string_view password, std::shared_ptr<const KeyStore>& store) {
    forgetKeyStoreFile(name);
    const std::int32_t result = openKeyStore(name, password, store);
    if (result != SSF_API_OK)
        return result;
    if (!isPkcs12File(name))
        return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL,
                    "The key store " + quoted(name) + " is no PKCS#12 file; others can be read but not changed.");
    return SSF_API_OK;
}

bool isTrusted(const KeyStore& store, std::span<const std::uint8_t> der) {
    return std::ranges::any_of(store.trusted,
                               [&](const auto& trusted) { return std::ranges::equal(trusted->der, der); });
}

}  // namespace

std::int32_t createProfile(std::string_view name, const SecretText& password) {
    if (const std::int32_t result = checkNewPassword(password); result != SSF_API_OK)
        return result;
    if (isMemoryKeyStore(name))
        return registerMemoryKeyStore(name, {});
    const auto bytes = writePkcs12({nullptr, nullptr, {}}, password);
    if (bytes.empty())
        return fail(SSF_API_ENCODE_FAILED, "OpenSSL could not make an empty key store.");
    const WriteState state = createPrivateFile(std::string(name), bytes);
    forgetKeyStoreFile(name);
    switch (state) {
        case WriteState::ok:
            return SSF_API_OK;
        case WriteState::exists:
            return fail(SSF_API_INVALID_PROFILE, "There is a file " + quoted(name) + " already; it is left as it is.");
        case WriteState::failed:
            break;
    }
    return fail(SSF_API_UNKNOWN_PROFILE, "The key store " + quoted(name) + " could not be made: check the directory.");
}

std::int32_t addTrusted(const SsfProfile& profile, const SsfCertificate& certificate) {
    if (isMemoryKeyStore(profile.name))
        return addToMemoryKeyStore(profile.name, certificate.der);
    const std::lock_guard lock(filesMutex);
    std::shared_ptr<const KeyStore> store;
    const std::int32_t result = openForChange(profile.name, profile.password.view(), store);
    if (result != SSF_API_OK || isTrusted(*store, certificate.der))
        return result;
    Pkcs12Content content = contentOf(*store);
    content.others.push_back(certificate.certificate.get());
    return rewrite(profile.name, content, profile.password);
}

std::int32_t changePassword(std::string_view name, const SecretText& before, const SecretText& after) {
    if (const std::int32_t result = checkNewPassword(after); result != SSF_API_OK)
        return result;
    if (isMemoryKeyStore(name))
        return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL, "The password of a key store in memory cannot be changed.");
    const std::lock_guard lock(filesMutex);
    std::shared_ptr<const KeyStore> store;
    const std::string path(name);
    const std::int32_t result = openForChange(path, before.view(), store);
    return result == SSF_API_OK ? rewrite(path, contentOf(*store), after) : result;
}

}  // namespace quorvanti::provider

using namespace quorvanti::provider;

namespace {

bool isProfile(const char* profile, int32_t profileLength) {
    return profile != nullptr && profileLength > 0;
}

}  // namespace

int32_t SsfCreateProfile(const char* profile, int32_t profileLength, const char* password, int32_t passwordLength) {
    if (!isProfile(profile, profileLength) || !isRange(password, passwordLength))
        return invalidArguments("SsfCreateProfile");
    return boundary(
        [&] { return createProfile(textOf(profile, profileLength), SecretText(textOf(password, passwordLength))); });
}

int32_t SsfOpenProfile(const char* profile, int32_t profileLength, const char* password, int32_t passwordLength,
                       SsfProfile** handle) {
    if (handle != nullptr)
        *handle = nullptr;
    if (!isProfile(profile, profileLength) || !isRange(password, passwordLength) || handle == nullptr)
        return invalidArguments("SsfOpenProfile");
    return boundary([&] {
        const std::string_view name = textOf(profile, profileLength);
        const std::string_view secret = textOf(password, passwordLength);
        std::shared_ptr<const KeyStore> store;
        const std::int32_t result = openKeyStore(name, secret, store);
        if (result == SSF_API_OK)
            *handle = new SsfProfile{std::string(name), SecretText(secret), {}};
        return result;
    });
}

int32_t SsfPutCertificate(SsfProfile* handle, SsfCertificate* certificate) {
    if (handle == nullptr || certificate == nullptr)
        return invalidArguments("SsfPutCertificate");
    return boundary([&] { return addTrusted(*handle, *certificate); });
}

int32_t SsfCloseProfile(SsfProfile** handle) {
    if (handle == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    delete *handle;
    *handle = nullptr;
    return SSF_API_OK;
}

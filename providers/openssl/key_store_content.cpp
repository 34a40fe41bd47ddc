#include "providers/openssl/key_store_content.h"

#include <algorithm>

#include "providers/openssl/key_store.h"
#include "providers/openssl/last_error.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

enum class ContentKind : std::uint8_t { pkcs12, certificate, pem, unknown };

// What follows the outermost header: a PKCS#12 begins with its version, a certificate with a sequence. Some programs
// write PKCS#12 with indefinite lengths, so the header is passed over whatever its form.
ContentKind binaryKind(Bytes image) {
    if (image.size() < 2)
        return ContentKind::unknown;
    const std::size_t lengthBytes = image[1] > 0x80 ? image[1] & 0x7fU : 0;
    const std::size_t start = 2 + lengthBytes;
    if (start >= image.size())
        return ContentKind::unknown;
    switch (image[start]) {
        case tag::integer:
            return ContentKind::pkcs12;
        case tag::sequence:
            return ContentKind::certificate;
        default:
            return ContentKind::unknown;
    }
}

ContentKind kindOf(Bytes image) {
    constexpr std::string_view begin = "-----BEGIN ";
    if (!image.empty() && image.front() == tag::sequence)
        return binaryKind(image);
    const auto found = std::search(image.begin(), image.end(), begin.begin(), begin.end());
    return found != image.end() ? ContentKind::pem : ContentKind::unknown;
}

ReadOutcome readContent(Bytes image, std::string_view password, KeyStoreContent& content) {
    switch (kindOf(image)) {
        case ContentKind::pkcs12:
            return readPkcs12KeyStore(image, password, content);
        case ContentKind::pem:
            return readPemKeyStore(image, password, content);
        case ContentKind::certificate:
            return addCertificate(image, content) ? ReadOutcome{}
                                                  : unusableKeyStore("holds a certificate that cannot be read.");
        default:
            return unusableKeyStore("is neither PKCS#12 nor PEM nor a DER certificate.");
    }
}

ReadOutcome takeOver(KeyStoreContent content, KeyStore& store) {
    if (content.privateKeys.size() > 1)
        return unusableKeyStore("holds more than one private key.");
    store.passwordUsed = content.passwordUsed;
    store.trusted = std::move(content.certificates);
    if (!content.privateKeys.empty())
        store.ownKey = std::move(content.privateKeys.front());
    prepareKeyStore(store);
    return {};
}

}  // namespace

ReadOutcome unusableKeyStore(std::string problem) {
    return {SSF_API_INVALID_PROFILE, std::move(problem)};
}

ReadOutcome wrongPassword(std::string_view password) {
    return {SSF_API_INVALID_PASSWORD,
            password.empty() ? "needs a password, and none was given." : "does not open with the password given."};
}

bool addCertificate(Bytes der, KeyStoreContent& content) {
    auto certificate = prepareCertificate(der);
    if (certificate == nullptr)
        return false;
    content.certificates.push_back(std::move(certificate));
    return true;
}

std::int32_t parseKeyStoreImage(std::span<const std::uint8_t> image, std::string_view password, KeyStore& store) {
    const ErrorQueueGuard errors;
    KeyStoreContent content;
    ReadOutcome outcome = readContent(image, password, content);
    if (outcome.code == 0)
        outcome = takeOver(std::move(content), store);
    if (outcome.code == 0)
        return SSF_API_OK;
    return fail(outcome.code, "Key store " + store.profile + " " + outcome.problem);
}

}  // namespace quorvanti::provider

#include "providers/openssl/certificate.h"

#include <algorithm>

#include "providers/openssl/armor.h"
#include "providers/openssl/boundary.h"
#include "providers/openssl/certificate_text.h"
#include "providers/openssl/hand_out.h"

namespace quorvanti::provider {

X509Ptr readCertificate(std::span<const std::uint8_t> der) {
    X509* made = X509_new_ex(libraryContext(), nullptr);
    if (made == nullptr)
        return nullptr;
    // On failure d2i_X509 has freed what it was given.
    const unsigned char* position = der.data();
    if (d2i_X509(&made, &position, static_cast<long>(der.size())) == nullptr)
        return nullptr;
    X509Ptr certificate(made);
    if (position != der.data() + der.size())
        return nullptr;
    // The decoder also takes encodings that are not DER; encoding again gives those away.
    unsigned char* bytes = nullptr;
    const int length = i2d_X509(certificate.get(), &bytes);
    const OpensslBytes owner(bytes);
    if (length < 0 || !std::equal(der.begin(), der.end(), bytes, bytes + length))
        return nullptr;
    return certificate;
}

std::unique_ptr<SsfCertificate> makeCertificate(std::span<const std::uint8_t> der) {
    X509Ptr certificate = readCertificate(der);
    if (certificate == nullptr)
        return nullptr;
    return std::unique_ptr<SsfCertificate>(new SsfCertificate{{der.begin(), der.end()}, std::move(certificate), {}});
}

namespace {

std::int32_t decode(std::span<const std::uint8_t> der, SsfCertificate** certificate, std::string_view complaint) {
    *certificate = makeCertificate(der).release();
    return *certificate != nullptr ? SSF_API_OK : fail(SSF_API_DECODE_FAILED, complaint);
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t SsfCertfromASN1(const uint8_t* der, int32_t derLength, SsfCertificate** certificate) {
    if (certificate != nullptr)
        *certificate = nullptr;
    if (certificate == nullptr || der == nullptr || derLength < 0)
        return invalidArguments("SsfCertfromASN1");
    return boundary(
        [&] { return decode(bytesOf(der, derLength), certificate, "The bytes are not a certificate in DER form."); });
}

int32_t SsfCerttoASN1(SsfCertificate* certificate, uint8_t** der, int32_t* derLength) {
    if (der != nullptr)
        *der = nullptr;
    if (derLength != nullptr)
        *derLength = 0;
    if (certificate == nullptr || der == nullptr || derLength == nullptr)
        return invalidArguments("SsfCerttoASN1");
    if (!handOut(certificate->der, der, derLength))
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    return SSF_API_OK;
}

int32_t SsfParseCertificate(SsfCertificate* certificate, const char* attribute, int32_t attributeLength, char** text,
                            int32_t* textLength) {
    if (text != nullptr)
        *text = nullptr;
    if (textLength != nullptr)
        *textLength = 0;
    if (certificate == nullptr || attribute == nullptr || attributeLength < 0 || text == nullptr ||
        textLength == nullptr)
        return invalidArguments("SsfParseCertificate");
    return boundary([&] {
        const CertificateAttribute* known = findCertificateAttribute(textOf(attribute, attributeLength));
        if (known == nullptr)
            return fail(SSF_API_INVALID_FUNCARGS,
                        "SsfParseCertificate knows the attributes SUBJECT, ISSUER, SERIALNO, SERIAL, SUMMARY, "
                        "VALIDITY, FINGERPRINT, ALGID and ALL.");
        const auto found = known->read(*certificate);
        if (!found)
            return fail(SSF_API_DECODE_FAILED,
                        std::string("The certificate's attribute ") + known->name + " cannot be read.");
        if (!handOut(std::string_view(*found), text, textLength))
            return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
        return SSF_API_OK;
    });
}

int32_t SsfFreeCertificate(SsfCertificate** certificate) {
    if (certificate == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    delete *certificate;
    *certificate = nullptr;
    return SSF_API_OK;
}

int32_t kavsecu_decode_cert(const uint8_t* content, int32_t contentLength, SsfCertificate** certificate) {
    if (certificate != nullptr)
        *certificate = nullptr;
    if (certificate == nullptr || content == nullptr || contentLength < 0)
        return invalidArguments("kavsecu_decode_cert");
    return boundary([&] {
        const auto der = withoutArmor(bytesOf(content, contentLength), "CERTIFICATE");
        return decode(der, certificate, "The content is not a certificate: neither DER, nor PEM, nor base64 of DER.");
    });
}

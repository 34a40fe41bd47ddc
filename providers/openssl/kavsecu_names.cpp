// Distinguished names, certificates and other objects as text, under the names of the kavsecu set.
#include <memory>

#include "providers/openssl/boundary.h"
#include "providers/openssl/certificate.h"
#include "providers/openssl/certificate_text.h"
#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/hand_out.h"
#include "providers/openssl/object_text.h"
#include "quorvanti/ssf_kavsecu.h"

struct SsfDName {
    quorvanti::provider::X509NamePtr name;
    quorvanti::provider::LiveObject alive;
};

namespace quorvanti::provider {
namespace {

void clear(char** text, std::int32_t* textLength) {
    if (text != nullptr)
        *text = nullptr;
    if (textLength != nullptr)
        *textLength = 0;
}

std::int32_t handOutText(const std::optional<std::string>& found, std::string_view complaint, char** text,
                         std::int32_t* textLength) {
    if (!found)
        return fail(SSF_API_DECODE_FAILED, complaint);
    if (!handOut(std::string_view(*found), text, textLength))
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    return SSF_API_OK;
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t aux_Name2DName(const char* text, int32_t textLength, SsfDName** name) {
    if (name != nullptr)
        *name = nullptr;
    if (name == nullptr || text == nullptr || textLength < 0)
        return invalidArguments("aux_Name2DName");
    return boundary([&] {
        X509NamePtr parsed = parseName(textOf(text, textLength));
        if (parsed == nullptr)
            return fail(SSF_API_BAD_NAME, "The text is not a distinguished name such as CN=name,O=company,C=DE.");
        *name = new SsfDName{std::move(parsed), {}};
        return SSF_API_OK;
    });
}

int32_t aux_sprint_DName(const SsfDName* name, char** text, int32_t* textLength) {
    clear(text, textLength);
    if (name == nullptr || text == nullptr || textLength == nullptr)
        return invalidArguments("aux_sprint_DName");
    return boundary([&] { return handOutText(nameText(name->name.get()), "", text, textLength); });
}

int32_t aux_free_DName(SsfDName** name) {
    if (name == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    delete *name;
    *name = nullptr;
    return SSF_API_OK;
}

int32_t d_Certificate(const uint8_t* der, int32_t derLength, SsfCertificate** certificate) {
    return SsfCertfromASN1(der, derLength, certificate);
}

int32_t aux_free_Certificate(SsfCertificate** certificate) {
    return SsfFreeCertificate(certificate);
}

int32_t aux_sprint_Validity(const SsfCertificate* certificate, char** text, int32_t* textLength) {
    clear(text, textLength);
    if (certificate == nullptr || text == nullptr || textLength == nullptr)
        return invalidArguments("aux_sprint_Validity");
    return boundary([&] {
        return handOutText(validityText(certificate->certificate.get()), "The certificate's validity cannot be read.",
                           text, textLength);
    });
}

int32_t aux_sprint_Serialnumber(const SsfCertificate* certificate, char** text, int32_t* textLength) {
    clear(text, textLength);
    if (certificate == nullptr || text == nullptr || textLength == nullptr)
        return invalidArguments("aux_sprint_Serialnumber");
    return boundary([&] {
        return handOutText(decimalText(X509_get0_serialNumber(certificate->certificate.get())),
                           "The certificate's serial number cannot be read.", text, textLength);
    });
}

int32_t aux_free_String(char** text) {
    if (text == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    takeBack(*text);
    *text = nullptr;
    return SSF_API_OK;
}

int32_t kavsecu_parseobject(const uint8_t* content, int32_t contentLength, char** text, int32_t* textLength) {
    clear(text, textLength);
    if (content == nullptr || contentLength < 0 || text == nullptr || textLength == nullptr)
        return invalidArguments("kavsecu_parseobject");
    return boundary([&] {
        return handOutText(objectText(bytesOf(content, contentLength)),
                           "The content is neither a certificate nor a key, certificate list, PKCS#7 or PKCS#12.", text,
                           textLength);
    });
}

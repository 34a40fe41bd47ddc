// Attributes of a certificate as text.
#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "sec/kavsecu/crypto_memory.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/state.h"

#include <cstring>
#include <string>
#include <string_view>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

// Names are matched by their beginning, in this order: "SERIALNO" before "SERIAL".
struct Keyword {
    std::string_view name;
    const char* failure;
};
// clang-format off
constexpr Keyword kKeywords[] = {
    {"SUBJECT",  "Couldn't parse subject out of certificate."},
    {"ISSUER",   "Couldn't parse issuer out of certificate."},
    {"SERIALNO", "Couldn't parse serialNo out of certificate."},
    {"SUMMARY",  "Couldn't parse summary out of certificate."},
    {"SERIAL",   "Couldn't parse serial out of certificate."},
};
// clang-format on

const Keyword* findKeyword(std::string_view attribute) {
    for (const Keyword& keyword : kKeywords) {
        if (attribute.starts_with(keyword.name)) {
            return &keyword;
        }
    }
    return nullptr;
}

class CertificateHandle {
public:
    explicit CertificateHandle(const SsfFunctionTable& table) : table_(table) {}
    ~CertificateHandle() {
        if (certificate_ != nullptr) {
            if (auto* release = requireFunction(table_, ssf::SsfFreeCertificate, kTraceUnit)) {
                release(&certificate_);
            }
        }
    }
    CertificateHandle(const CertificateHandle&) = delete;
    CertificateHandle& operator=(const CertificateHandle&) = delete;

    SsfCertificate** address() { return &certificate_; }
    SsfCertificate* get() const { return certificate_; }

private:
    const SsfFunctionTable& table_;
    SsfCertificate* certificate_ = nullptr;
};

std::int32_t readAttribute(const SsfFunctionTable& table, SsfCertificate* certificate, const char* attribute,
                           CryptoText& text) {
    auto* parse = requireFunction(table, ssf::SsfParseCertificate, kTraceUnit);
    if (parse == nullptr) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    const Keyword* keyword = findKeyword(attribute);
    const std::string name(keyword != nullptr ? keyword->name : std::string_view(attribute));
    if (parse(certificate, name.data(), static_cast<std::int32_t>(name.size()), text.data(), text.length()) ==
        SSF_API_OK) {
        return VORAK_OK;
    }
    if (keyword != nullptr) {
        TRACE_ERROR("%s", keyword->failure);
    } else {
        TRACE_ERROR("Couldn't parse the attribute >>%s<< out of certificate.\n", attribute);
    }
    return VORAK_NO_CERTIFICATE;
}

std::int32_t parseCertificate(const std::uint8_t* certificate, std::uint32_t certificateLength, const char* attribute,
                              std::uint8_t* out, std::int32_t* outLength) {
    if (certificate == nullptr || attribute == nullptr || out == nullptr || outLength == nullptr) {
        TRACE_ERROR("Invalid parameter.\n");
        if (outLength != nullptr) {
            *outLength = 0;
        }
        return VORAK_MALFORMED;
    }
    const std::int32_t capacity = *outLength;
    *outLength = 0;
    const SsfFunctionTable& table = libraryState().cryptoTable;
    auto* fromAsn1 = requireFunction(table, ssf::SsfCertfromASN1, kTraceUnit);
    if (fromAsn1 == nullptr) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    CertificateHandle handle(table);
    if (certificateLength > INT32_MAX ||
        fromAsn1(certificate, static_cast<std::int32_t>(certificateLength), handle.address()) != SSF_API_OK) {
        TRACE_ERROR("Certificate couldn't be converted into internal structure.\n");
        return VORAK_NO_CERTIFICATE;
    }
    CryptoText text(table);
    if (const std::int32_t code = readAttribute(table, handle.get(), attribute, text); code != VORAK_OK) {
        return code;
    }
    const std::string_view value = text.view();
    *outLength = static_cast<std::int32_t>(value.size());
    if (*outLength > capacity) {
        TRACE_ERROR("Buffer passed to VorakParseCertificate too small.");
        return VORAK_BUFFER_TOO_SMALL;
    }
    std::copy(value.begin(), value.end(), out);
    return VORAK_OK;
}

}  // namespace
}  // namespace quorvanti

using namespace quorvanti;

extern "C" QUORVANTI_API int32_t VorakParseCertificate(const uint8_t* certificate, uint32_t certificateLength,
                                                       const char* attribute, uint8_t* out, int32_t* outLength) {
    return guarded([&]() -> std::int32_t {
        if (!requireInitialized()) {
            if (outLength != nullptr) {
                *outLength = 0;
            }
            return VORAK_INVALID;
        }
        const ThrRecMtxGuard lock(libraryState().cryptoLock);
        return parseCertificate(certificate, certificateLength, attribute, out, outLength);
    });
}

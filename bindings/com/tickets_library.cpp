// The operations about the library itself: start, version, properties, keys, certificates.
#include <quorvanti/voraksso.h>

#include "bindings/com/arguments.h"
#include "bindings/com/com_values.h"
#include "bindings/com/failure.h"
#include "bindings/com/vctickets.h"
#include "bindings/method_trace.h"
#include "sec/voraksso/properties.h"

#include <array>
#include <memory>
#include <optional>
#include <string>

namespace quorvanti::com {
namespace {

// A copy of an argument without its indirections.
class Variant {
public:
    explicit Variant(VARIANT argument) {
        VariantInit(&value_);
        if (FAILED(VariantCopyInd(&value_, &argument))) {
            VariantClear(&value_);
        }
    }
    ~Variant() { VariantClear(&value_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    bool become(VARTYPE type) { return SUCCEEDED(VariantChangeType(&value_, &value_, 0, type)); }
    const VARIANT* operator->() const { return &value_; }

private:
    VARIANT value_;
};

const char* certificateRequest(VARIANT argument) {
    Variant request(argument);
    if (request->vt == VT_BSTR) {
        return com::certificateRequest(Text(request->bstrVal).view());
    }
    const bool nothing = request->vt == VT_EMPTY || request->vt == VT_NULL;
    return !nothing && request.become(VT_I4) ? com::certificateRequest(std::int64_t{request->lVal}) : nullptr;
}

struct CertificateInformation {
    CertificateInformation(const std::vector<std::uint8_t>& certificate, const char* request)
        : code(VorakParseCertificate(certificate.data(), static_cast<std::uint32_t>(certificate.size()), request,
                                     text.data(), &length)) {}

    std::array<std::uint8_t, 16384> text;
    std::int32_t length = static_cast<std::int32_t>(sizeof text);
    std::int32_t code;
};

std::string parsed(const std::vector<std::uint8_t>& certificate, const char* request) {
    const auto information = std::make_unique<CertificateInformation>(certificate, request);
    if (information->code != VORAK_OK) {
        // The engine says the same of a certificate and of an attribute that it cannot read. A certificate has a
        // number.
        const bool readable = information->code == VORAK_NO_CERTIFICATE &&
                              std::make_unique<CertificateInformation>(certificate, "SERIALNO")->code == VORAK_OK;
        throw Failure(resultOfEngine(information->code), certificateFailure(request, information->code, readable));
    }
    return {reinterpret_cast<const char*>(information->text.data()), static_cast<std::size_t>(information->length)};
}

}  // namespace

HRESULT VCTickets::put_CryptLib(BSTR name) {
    return operation([&] {
        const std::int32_t code = VorakInitialize(Text(name, kLibraryRoom, Encoding::system).get());
        if (code != VORAK_OK) {
            throw Failure(resultOfEngine(code), "Initialization failed with error code " + std::to_string(code));
        }
    });
}

HRESULT VCTickets::ParseCertificate(BSTR certificate, VARIANT request, BSTR* information) {
    return operation([&] {
        const MethodTrace trace("COM: ParseCertificate was called.\n", "COM: End of ParseCertificate.\n");
        BSTR& result = place(information);
        const char* const attribute = certificateRequest(request);
        const Text text(certificate);
        if (attribute == nullptr || text.absent()) {
            throw Failure(static_cast<std::uint32_t>(E_INVALIDARG),
                          certificateFailure(attribute, VORAK_NO_CERTIFICATE, false));
        }
        result = wide(parsed(certificateBytes(text.view()), attribute)).release();
    });
}

HRESULT VCTickets::GetVersion(long* version) {
    return operation([&] { place(version) = VorakGetVersion(); });
}

HRESULT VCTickets::LoadTicketKey(BSTR key, long index, long type) {
    return operation([&] {
        const MethodTrace trace("COM: LoadTicketKey was called.\n", "COM: End of LoadTicketKey.\n");
        const Text text(key, kAnyLength, Encoding::utf8, Zeros::kept);
        if (text.absent()) {
            throw Failure(static_cast<std::uint32_t>(E_INVALIDARG), "No key provided");
        }
        const std::int32_t code = VorakLoadTicketKey(
            reinterpret_cast<const std::uint8_t*>(text.get()), static_cast<std::int32_t>(*text.length()), nullptr,
            static_cast<std::int32_t>(index), static_cast<std::uint32_t>(type));
        if (code != VORAK_OK) {
            throw Failure(resultOfEngine(code), "Loading of ticket key failed with error=" + std::to_string(code));
        }
    });
}

HRESULT VCTickets::SetProperty(BSTR name, BSTR value) {
    return operation([&] {
        const MethodTrace trace("COM: SetProperty was called.\n", "COM: End of SetProperty.\n");
        const Text nameText(name, kAnyLength, Encoding::system);
        const Text valueText(value, kAnyLength, Encoding::system);
        const std::int32_t code = QuorvantiSetProperty(nameText.get(), valueText.get());
        if (code != VORAK_OK) {
            throw Failure(resultOfEngine(code), "Set property failed with error=" + std::to_string(code));
        }
    });
}

HRESULT VCTickets::GetProperty(BSTR name, BSTR* value) {
    return operation([&] {
        const MethodTrace trace("COM: GetProperty was called.\n", "COM: End of GetProperty.\n");
        BSTR& result = place(value);
        const std::optional<std::string> text = propertyText(Text(name, kAnyLength, Encoding::system).get());
        if (!text) {
            throw Failure(resultOfEngine(VORAK_INVALID), "Get property failed");
        }
        result = wide(*text, Encoding::system).release();
    });
}

}  // namespace quorvanti::com

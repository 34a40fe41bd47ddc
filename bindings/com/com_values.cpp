#include "bindings/com/com_values.h"

#include <quorvanti/voraksso.h>

#include "bindings/certificate_infos.h"
#include "sec/voraksso/base64.h"

#include <algorithm>
#include <iterator>

namespace quorvanti::com {
namespace {

constexpr char kUnknownRequest[] = "Unknown certificate information requested.";
constexpr char kUnreadable[] = "BLOB couldn't be converted into certificate structure.";
constexpr char kNotFlat[] = "Couldn't convert ASN.1 structure into flat name.";

// Those that the engine knows by itself; the others are known when the crypto library knows them.
constexpr std::string_view kEngineRequests[] = {"SUBJECT", "ISSUER", "SERIALNO", "SUMMARY", "SERIAL"};

}  // namespace

const char* certificateRequest(std::int64_t number) {
    const bool known = number >= 0 && number < static_cast<std::int64_t>(std::size(kCertificateInfos));
    return known ? kCertificateInfos[number] : nullptr;
}

const char* certificateRequest(std::string_view text) {
    if (text.size() == 1) {
        return certificateRequest(std::int64_t{text.front() - '0'});
    }
    const auto* const found = std::find(std::begin(kCertificateInfos), std::end(kCertificateInfos), text);
    return found != std::end(kCertificateInfos) ? *found : nullptr;
}

std::string certificateFailure(const char* request, std::int32_t code, bool certificateReadable) {
    if (request == nullptr) {
        return kUnknownRequest;
    }
    if (code != VORAK_NO_CERTIFICATE) {
        return "Parsing of certificate failed with error=" + std::to_string(code);
    }
    if (!certificateReadable) {
        return kUnreadable;
    }
    const bool ofEngine =
        std::find(std::begin(kEngineRequests), std::end(kEngineRequests), request) != std::end(kEngineRequests);
    return ofEngine ? kNotFlat : kUnknownRequest;
}

std::optional<std::string> certificateText(std::span<const std::uint8_t> certificate) {
    const std::size_t remaining = certificate.size() % 3;
    std::vector<std::uint8_t> buffer(certificate.begin(), certificate.end());
    buffer.resize(certificate.size() + certificate.size() / 3 + (remaining == 1 ? 3 : remaining));
    std::uint32_t length = 0;
    if (EncodeB64(buffer, static_cast<std::uint32_t>(certificate.size()), &length) != 0) {
        return std::nullopt;
    }
    return std::string(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
}

std::vector<std::uint8_t> certificateBytes(std::string_view text) {
    std::vector<std::uint8_t> bytes(text.size());
    bytes.resize(decodeLenientBase64(text, bytes));
    return bytes;
}

}  // namespace quorvanti::com

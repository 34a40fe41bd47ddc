#include "sec/voraksso/ticket_info.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace quorvanti {
namespace {

// From these sizes on a record has its last three fields.
constexpr std::uint32_t kCertificateThreshold = 144;
constexpr std::uint32_t kMarkerThreshold = 148;

}  // namespace

bool TextOutput::assign(std::span<const std::uint8_t> text) const {
    if (text.size() > *capacity) {
        clearTooSmall(static_cast<std::uint32_t>(text.size()));
        return false;
    }
    const auto* characters = reinterpret_cast<const char*>(text.data());
    std::size_t length = text.empty() ? 0 : strnlen(characters, text.size());
    std::memcpy(buffer, characters, length);
    while (length > 0 && buffer[length - 1] == ' ') {
        --length;
    }
    if (length < *capacity) {
        buffer[length] = '\0';
    }
    *capacity = static_cast<std::uint32_t>(length);
    return true;
}

void TextOutput::clear() const {
    clearTooSmall(0);
}

void TextOutput::clearTooSmall(std::uint32_t needed) const {
    if (!wanted()) {
        return;
    }
    if (*capacity > 0) {
        *buffer = '\0';
    }
    *capacity = needed;
}

bool CertificateOutput::assign(std::span<const std::uint8_t> der) const {
    const bool fits = der.size() <= *capacity;
    if (fits && !der.empty()) {
        std::memcpy(buffer, der.data(), der.size());
    }
    *capacity = static_cast<std::uint32_t>(der.size());
    return fits;
}

void CertificateOutput::clear() const {
    if (wanted()) {
        *capacity = 0;
    }
}

OutputRecord::OutputRecord(TICKET_INFO& record, const CertificateOutput& certificate)
    : record_(record), extraCertificate_(certificate) {
    const std::size_t covered = std::min<std::size_t>(record.struct_size, sizeof fields_);
    std::memcpy(&fields_, &record, covered);
    if (covered < offsetof(TICKET_INFO, auth_scheme_capacity) + sizeof fields_.auth_scheme_capacity) {
        fields_.auth_scheme = nullptr;
        fields_.auth_scheme_capacity = nullptr;
    }
    if (covered <= kCertificateThreshold) {
        fields_.certificate = nullptr;
        fields_.certificate_capacity = nullptr;
    }
    fields_.struct_size = record.struct_size;
}

void OutputRecord::setFlags(std::uint32_t flags) {
    if (fields_.struct_size >= offsetof(TICKET_INFO, flags) + sizeof record_.flags) {
        record_.flags = flags;
    }
}

void OutputRecord::setAssertionMarker(std::int32_t marker) {
    static_assert(kMarkerThreshold == offsetof(TICKET_INFO, assertion_marker));
    if (fields_.struct_size >= kMarkerThreshold + sizeof record_.assertion_marker) {
        record_.assertion_marker = marker;
    }
}

void OutputRecord::clear(const std::uint32_t* keptCapacity) {
    for (const TextOutput& text : {systemId(), user(), client(), language(), portalUser(), authScheme()}) {
        if (text.capacity != keptCapacity || keptCapacity == nullptr) {
            text.clear();
        }
    }
    for (const CertificateOutput& der : {certificate(), extraCertificate()}) {
        if (der.capacity != keptCapacity || keptCapacity == nullptr) {
            der.clear();
        }
    }
    if (creationTime() != nullptr) {
        *creationTime() = 0;
    }
    if (validity() != nullptr) {
        *validity() = 0;
    }
    setFlags(0);
    setAssertionMarker(-1);
}

}  // namespace quorvanti

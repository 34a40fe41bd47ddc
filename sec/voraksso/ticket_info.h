// The caller's result record, taken apart: what it reaches, how it is filled and how it is cleared.
#pragma once

#include <quorvanti/voraksso.h>

#include "sec/voraksso/infounit.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

// One text output: where it goes, and the line that says that it does not fit.
struct TextOutput {
    char* buffer = nullptr;
    std::uint32_t* capacity = nullptr;

    bool wanted() const { return buffer != nullptr && capacity != nullptr; }
    // Copies up to the capacity and the first zero byte; the length handed out ends before trailing blanks. False when
    // the text does not fit: then the capacity holds the length needed and the buffer is empty.
    bool assign(std::span<const std::uint8_t> text) const;
    void clear() const;
    // Empties the buffer and leaves the length needed where it is.
    void clearTooSmall(std::uint32_t needed) const;
};

struct CertificateOutput {
    std::uint8_t* buffer = nullptr;
    std::uint32_t* capacity = nullptr;

    bool wanted() const { return buffer != nullptr && capacity != nullptr; }
    bool assign(std::span<const std::uint8_t> der) const;
    void clear() const;
};

// Works on a copy of what the caller's record covers, so that nothing behind its struct_size is touched: a field that
// is covered only in part counts as not there.
class OutputRecord {
public:
    OutputRecord(TICKET_INFO& record, const CertificateOutput& certificate);

    std::string_view codePage() const { return {fields_.code_page, sizeof fields_.code_page}; }
    TextOutput systemId() const { return {fields_.system_id, fields_.system_id_capacity}; }
    TextOutput user() const { return {fields_.user, fields_.user_capacity}; }
    TextOutput client() const { return {fields_.client, fields_.client_capacity}; }
    TextOutput language() const { return {fields_.language, fields_.language_capacity}; }
    TextOutput portalUser() const { return {fields_.portal_user, fields_.portal_user_capacity}; }
    TextOutput authScheme() const { return {fields_.auth_scheme, fields_.auth_scheme_capacity}; }
    CertificateOutput certificate() const { return {fields_.certificate, fields_.certificate_capacity}; }
    // The entry point's own buffer.
    const CertificateOutput& extraCertificate() const { return extraCertificate_; }
    std::int64_t* creationTime() const { return fields_.creation_time; }
    std::int32_t* validity() const { return fields_.validity; }
    void setFlags(std::uint32_t flags);
    void setAssertionMarker(std::int32_t marker);

    // Empties every output and sets the marker to -1, but for what failed to fit: its length stays.
    void clear(const std::uint32_t* keptCapacity);

private:
    TICKET_INFO& record_;
    TICKET_INFO fields_{};
    CertificateOutput extraCertificate_;
};

}  // namespace quorvanti

#include "sec/voraksso/ticket_codec.h"

#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/base64.h"
#include "sec/voraksso/signature.h"
#include "sec/voraksso/state.h"

#include <algorithm>
#include <cstring>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxapi";

constexpr std::uint8_t kWrittenVersion = 2;
constexpr std::size_t kHeaderLength = 5;
constexpr std::int32_t kSignatureLimit = 4096;

// Both lengths of the format are read as signed: 0x8000 and above are negative.
std::int32_t signed16At(std::span<const std::uint8_t> bytes, std::size_t position) {
    const auto value = static_cast<std::uint16_t>(bytes[position] << 8 | bytes[position + 1]);
    return static_cast<std::int16_t>(value);
}

std::int32_t addUnit(ContentList& contents, std::uint8_t id, std::span<const std::uint8_t> from, std::int32_t length) {
    // A negative length passes the caller's test and fails here: more than a unit can hold.
    const std::size_t size = static_cast<std::uint16_t>(length);
    const std::int32_t code = AddContent(contents, from.data(), size, id);
    if (code != VORAK_OK) {
        TRACE_ERROR("ParseTicket: Invalid content [%s %d]\n", kTraceUnit, __LINE__);
    }
    return code;
}

// Reads the units from byte 5 on and leaves `position` behind the 0xFF that ends them.
std::int32_t parseUnits(std::span<const std::uint8_t> decoded, ContentList& contents, std::size_t& position) {
    std::uint8_t id = decoded[position++];
    TRACE(3, "Read InfoUnit (0x%02X).\n", id);
    while (id != kUnitSignature) {
        if (decoded.size() - position < 2) {
            return VORAK_MALFORMED;
        }
        const std::int32_t length = signed16At(decoded, position);
        position += 2;
        TRACE(3, "Read length (%d).\n", length);
        const std::size_t remaining = decoded.size() - position;
        if (length > 0 && static_cast<std::size_t>(length) > remaining) {
            return VORAK_MALFORMED;
        }
        if (const std::int32_t code = addUnit(contents, id, decoded.subspan(position), length); code != VORAK_OK) {
            return code;
        }
        position += static_cast<std::size_t>(length);
        TRACE(3, "Read contents.\n");
        if (position == decoded.size()) {
            return VORAK_MALFORMED;
        }
        id = decoded[position++];
        TRACE(3, "Read InfoUnit (0x%02X).\n", id);
    }
    return VORAK_OK;
}

}  // namespace

std::int32_t decodeTicketText(std::string_view text, DecodedTicket& ticket) {
    ticket.length = DecodeB64len(text);
    if (text.size() < 4 || ticket.length > ticket.storage.size()) {
        TRACE_ERROR("DecodeB64len returns %d. iDecLength=%u\n", kBase64TooShort, ticket.length);
        return VORAK_NOT_BASE64;
    }
    const std::int32_t code = Decodeb64(text, ticket.storage, &ticket.length);
    if (code != 0) {
        TRACE_ERROR("Decodeb64 returns %d. iDecLength=%u\n", code, ticket.length);
        return VORAK_NOT_BASE64;
    }
    return VORAK_OK;
}

std::int32_t ParseTicket(std::span<const std::uint8_t> decoded, ParsedTicket& ticket) {
    FreeContentList(ticket.contents);
    if (decoded.empty()) {
        return VORAK_MALFORMED;
    }
    TRACE(3, "Read version.\n");
    if (decoded.size() - 1 < ticket.codePage.size()) {
        return VORAK_MALFORMED;
    }
    std::memcpy(ticket.codePage.data(), decoded.data() + 1, ticket.codePage.size());
    TRACE(3, "Read Codepage.\n");
    std::size_t position = kHeaderLength;
    if (decoded.size() <= position) {
        return VORAK_MALFORMED;
    }
    std::int32_t code = parseUnits(decoded, ticket.contents, position);
    if (code == VORAK_OK && ticket.contents.empty()) {
        TRACE_ERROR("ParseTicket: No ticket contents [%s %d]\n", kTraceUnit, __LINE__);
        code = VORAK_MALFORMED;
    }
    if (code != VORAK_OK) {
        FreeContentList(ticket.contents);
        return code;
    }
    ticket.processed = static_cast<std::uint32_t>(position);
    return VORAK_OK;
}

std::int32_t locateSignature(std::span<const std::uint8_t> decoded, std::uint32_t processed, SignedParts& parts) {
    const std::size_t remaining = decoded.size() - processed;
    const std::int32_t length = remaining >= 2 ? signed16At(decoded, processed) : 0;
    if (length < 1 || length > kSignatureLimit || static_cast<std::size_t>(length) > remaining - 2) {
        TRACE_ERROR("No or invalid signature. Length: %d \n", length);
        return VORAK_MALFORMED;
    }
    if (processed < 2 || processed - 1 > kTicketBytesLimit) {
        TRACE_ERROR("Invalid parser state. Processed bytes: %u \n", processed);
        return VORAK_MALFORMED;
    }
    parts.content = decoded.first(processed - 1);
    parts.signature = decoded.subspan(processed + 2, static_cast<std::size_t>(length));
    return VORAK_OK;
}

namespace {

class TicketWriter {
public:
    bool add(std::span<const std::uint8_t> bytes) {
        if (bytes.size() > bytes_.size() - length_) {
            return false;
        }
        std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(length_));
        length_ += bytes.size();
        return true;
    }
    bool addTagged(std::uint8_t id, std::span<const std::uint8_t> contents) {
        const std::uint8_t head[] = {id, static_cast<std::uint8_t>(contents.size() >> 8),
                                     static_cast<std::uint8_t>(contents.size())};
        return add(head) && add(contents);
    }
    std::span<const std::uint8_t> written() const { return {bytes_.data(), length_}; }
    std::span<std::uint8_t> workArea() { return bytes_; }

private:
    std::array<std::uint8_t, kTicketBytesLimit> bytes_;
    std::size_t length_ = 0;
};

std::int32_t writeSignature(TicketWriter& ticket, const InContext& context) {
    const ThrRecMtxGuard lock(libraryState().cryptoLock);
    SigningParameters parameters;
    parameters.format = context.Format.view();
    parameters.profile = context.signingProfile.view();
    parameters.password = context.password;
    parameters.hashAlgorithm = context.hashAlgorithm.view();
    parameters.signerId = context.signerId.view();
    parameters.includeCertificate = context.includeCertificate != 0;
    std::uint8_t* signature = nullptr;
    std::int32_t length = 0;
    if (const std::int32_t code = SignTicket(ticket.written(), *context.cryptoTable, parameters, &signature, &length);
        code != VORAK_OK) {
        return code;
    }
    const bool fits = ticket.addTagged(kUnitSignature, {signature, static_cast<std::size_t>(length)});
    context.cryptoTable->find(ssf::SsfDELSsfOctetstring)(&signature, &length);
    return fits ? VORAK_OK : VORAK_BUFFER_TOO_SMALL;
}

}  // namespace

std::int32_t WriteTicket(std::string_view codePage, const ContentList& contents, const InContext& context,
                         std::span<char> text, std::uint32_t* textLength) {
    TicketWriter ticket;
    std::array<std::uint8_t, kHeaderLength> header{kWrittenVersion};
    for (std::size_t i = 0; i + 1 < header.size(); ++i) {
        const auto c = static_cast<std::uint8_t>(i < codePage.size() ? codePage[i] : '\0');
        header[i + 1] = c < 0x80 ? c : static_cast<std::uint8_t>('#');
    }
    ticket.add(header);
    for (const ContentNode* node = contents.first(); node != nullptr; node = node->next) {
        if (!ticket.addTagged(static_cast<std::uint8_t>(node->id), node->bytes())) {
            return VORAK_BUFFER_TOO_SMALL;
        }
    }
    if (const std::int32_t code = writeSignature(ticket, context); code != VORAK_OK) {
        return code;
    }
    const auto total = static_cast<std::uint32_t>(ticket.written().size());
    if ((std::size_t{total} + 2) / 3 * 4 > text.size()) {
        return VORAK_BUFFER_TOO_SMALL;
    }
    std::uint32_t length = 0;
    const std::int32_t code = EncodeB64(ticket.workArea(), total, &length);
    if (code != 0) {
        return code == kBase64NoRoom ? VORAK_BUFFER_TOO_SMALL : VORAK_ENCODING_FAILED;
    }
    std::fill(text.begin(), text.end(), '\0');
    std::memcpy(text.data(), ticket.workArea().data(), length);
    *textLength = length;
    return VORAK_OK;
}

}  // namespace quorvanti

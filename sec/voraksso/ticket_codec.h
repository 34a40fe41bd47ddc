// The wire format of a ticket: base64 of version, code page, units, 0xFF, signature length and signature.
// docs/ticket-format.md describes the bytes.
#pragma once

#include "sec/voraksso/in_context.h"
#include "sec/voraksso/infounit.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

inline constexpr std::size_t kTicketTextLimit = 4096;   // a text of this length is too long to be evaluated
inline constexpr std::size_t kTicketBytesLimit = 4096;  // of a decoded ticket

// The bytes of a ticket.
struct DecodedTicket {
    std::array<std::uint8_t, kTicketBytesLimit> storage;
    std::uint32_t length = 0;

    std::span<const std::uint8_t> bytes() const { return {storage.data(), length}; }
};

// 0, or 1281 with a line of level 1.
std::int32_t decodeTicketText(std::string_view text, DecodedTicket& ticket);

struct ParsedTicket {
    std::array<char, 4> codePage{};
    ContentList contents;
    std::uint32_t processed = 0;  // bytes up to and with the 0xFF that ends the units
};

// 0; 5 malformed, 9 a unit of more than 256 bytes, 11 out of memory. On failure no contents are left.
std::int32_t ParseTicket(std::span<const std::uint8_t> decoded, ParsedTicket& ticket);

struct SignedParts {
    std::span<const std::uint8_t> content;
    std::span<const std::uint8_t> signature;
};

// The signed bytes and the signature of a parsed ticket: 0, or 5.
std::int32_t locateSignature(std::span<const std::uint8_t> decoded, std::uint32_t processed, SignedParts& parts);

// Writes and signs a ticket into the caller's buffer, which is cleared first; no terminator is added when the text
// fills it. 0 with the text's length; 3 the ticket or its text does not fit; 1282 encoding failed; else the signing
// failure. Takes the crypto lock for the signature.
std::int32_t WriteTicket(std::string_view codePage, const ContentList& contents, const InContext& context,
                         std::span<char> text, std::uint32_t* textLength);

}  // namespace quorvanti

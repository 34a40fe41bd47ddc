// Puts tickets together the way an issuing system does, byte by byte and with no help from the engine.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvanti::test {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(std::string_view text);

// Standard alphabet with padding.
std::string base64(const Bytes& bytes);

// signedBytes, the end mark, the signature with its length.
Bytes decodedTicket(const Bytes& signedBytes, const Bytes& signature);
inline std::string ticketText(const Bytes& signedBytes, const Bytes& signature) {
    return base64(decodedTicket(signedBytes, signature));
}

// A unit that is set twice stands twice, in the order of the calls. Nothing is checked: wrong tickets are wanted too.
class TicketBuilder {
public:
    TicketBuilder& version(std::uint8_t version);
    TicketBuilder& codePage(std::string_view fourCharacters);

    TicketBuilder& unit(std::uint8_t id, std::string_view contents);
    TicketBuilder& unit(std::uint8_t id, const Bytes& contents);
    TicketBuilder& number(std::uint8_t id, std::int32_t value);

    TicketBuilder& user(std::string_view user) { return unit(0x01, user); }
    TicketBuilder& client(std::string_view client) { return unit(0x02, client); }
    TicketBuilder& systemId(std::string_view systemId) { return unit(0x03, systemId); }
    TicketBuilder& creation(std::time_t utc) { return creation(timeDigits(utc)); }
    TicketBuilder& creation(std::string_view twelveDigits) { return unit(0x04, twelveDigits); }
    TicketBuilder& validityHours(std::int32_t hours) { return number(0x05, hours); }
    TicketBuilder& validityMinutes(std::int32_t minutes) { return number(0x07, minutes); }
    TicketBuilder& flags(std::uint8_t flags) { return unit(0x08, Bytes{flags}); }
    TicketBuilder& language(std::string_view language) { return unit(0x09, language); }
    TicketBuilder& recipientClient(std::string_view client) { return unit(0x0F, client); }
    TicketBuilder& recipientSystemId(std::string_view systemId) { return unit(0x10, systemId); }
    TicketBuilder& portalUser(std::string_view user) { return unit(0x20, "portal:" + std::string(user)); }
    TicketBuilder& authScheme(std::string_view scheme) { return unit(0x88, scheme); }

    Bytes signedBytes() const;

    // An ordinary logon ticket made at the given time, valid for eight hours.
    static TicketBuilder logon(std::time_t created);
    // The same, addressed to a system.
    static TicketBuilder assertion(std::time_t created, std::string_view systemId, std::string_view client);

    static std::string timeDigits(std::time_t utc);

private:
    std::uint8_t version_ = 2;
    std::string codePage_ = "4110";
    std::vector<std::pair<std::uint8_t, Bytes>> units_;
};

}  // namespace quorvanti::test

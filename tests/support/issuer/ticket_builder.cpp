#include "tests/support/issuer/ticket_builder.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace quorvanti::test {

namespace {

void appendLength(Bytes& bytes, std::size_t length) {
    bytes.push_back(static_cast<std::uint8_t>(length >> 8));
    bytes.push_back(static_cast<std::uint8_t>(length));
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace

Bytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

std::string base64(const Bytes& bytes) {
    static constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    std::uint32_t held = 0;
    int bits = 0;
    for (const std::uint8_t byte : bytes) {
        held = (held << 8) | byte;
        for (bits += 8; bits >= 6; bits -= 6) {
            text += alphabet[(held >> (bits - 6)) & 63U];
        }
    }
    if (bits > 0) {
        text += alphabet[(held << (6 - bits)) & 63U];
    }
    while (text.size() % 4 != 0) {
        text += '=';
    }
    return text;
}

Bytes decodedTicket(const Bytes& signedBytes, const Bytes& signature) {
    Bytes ticket = signedBytes;
    ticket.push_back(0xFF);
    appendLength(ticket, signature.size());
    append(ticket, signature);
    return ticket;
}

TicketBuilder& TicketBuilder::version(std::uint8_t version) {
    version_ = version;
    return *this;
}

TicketBuilder& TicketBuilder::codePage(std::string_view fourCharacters) {
    codePage_ = fourCharacters;
    return *this;
}

TicketBuilder& TicketBuilder::unit(std::uint8_t id, std::string_view contents) {
    return unit(id, bytesOf(contents));
}

TicketBuilder& TicketBuilder::unit(std::uint8_t id, const Bytes& contents) {
    units_.emplace_back(id, contents);
    return *this;
}

TicketBuilder& TicketBuilder::number(std::uint8_t id, std::int32_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    return unit(id, Bytes{static_cast<std::uint8_t>(bits >> 24), static_cast<std::uint8_t>(bits >> 16),
                          static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)});
}

Bytes TicketBuilder::signedBytes() const {
    Bytes bytes{version_};
    append(bytes, bytesOf(codePage_));
    for (const auto& [id, contents] : units_) {
        bytes.push_back(id);
        appendLength(bytes, contents.size());
        append(bytes, contents);
    }
    return bytes;
}

std::string TicketBuilder::timeDigits(std::time_t utc) {
    using namespace std::chrono;
    const auto minute = floor<minutes>(sys_seconds(seconds(utc)));
    const auto day = floor<days>(minute);
    const year_month_day date(day);
    const hh_mm_ss time(minute - day);
    std::array<char, 64> digits{};
    std::snprintf(digits.data(), digits.size(), "%04d%02u%02u%02d%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()));
    return digits.data();
}

TicketBuilder TicketBuilder::logon(std::time_t created) {
    TicketBuilder builder;
    builder.user("JDOE").client("100").systemId("PRD").creation(created).validityHours(8).language("EN");
    builder.portalUser("jdoe").authScheme("basicauthentication");
    return builder;
}

TicketBuilder TicketBuilder::assertion(std::time_t created, std::string_view systemId, std::string_view client) {
    TicketBuilder builder;
    builder.user("JDOE").client("100").systemId("PRD").creation(created).validityMinutes(2).flags(1);
    builder.recipientClient(client).recipientSystemId(systemId).portalUser("jdoe").authScheme("basicauthentication");
    return builder;
}

}  // namespace quorvanti::test

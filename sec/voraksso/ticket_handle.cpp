// Tickets as handles: taken apart by a parser of their own that leaves the units where they are in the decoded bytes.
#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/base64.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/in_context.h"
#include "sec/voraksso/infounit.h"
#include "sec/voraksso/properties.h"
#include "sec/voraksso/signature.h"
#include "sec/voraksso/state.h"
#include "sec/voraksso/text.h"
#include "sec/voraksso/ticket_units.h"
#include "sec/voraksso/validity.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {
enum class TicketState : std::uint8_t { created, parsed, verified };
}  // namespace

struct TICKET {
    std::uint8_t kind = 0;
    TicketState state = TicketState::created;
    std::uint32_t format = 2;
    std::array<char, 4> codePage{};
    std::vector<std::uint8_t> decoded;
    std::span<const std::uint8_t> signature;  // inside the decoded bytes
    std::vector<TicketUnit> units;            // their contents inside the decoded bytes
    std::string text;                         // as it was given
    std::uint32_t lastError = 0;
    TicketBlock userResult{};  // behind its prefix, inside the decoded bytes
};

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

constexpr std::size_t kUnitLimit = 100;
constexpr std::uint32_t kErrorForeignCharacter = 3;
constexpr std::uint32_t kErrorExpired = 4;
constexpr std::uint32_t kErrorMalformed = 5;
constexpr std::uint32_t kErrorNoMemory = 11;
constexpr std::uint32_t kErrorState = 12;
constexpr std::size_t kLongestCreationTime = 13;

std::span<const std::uint8_t> bytesOf(const TicketBlock& block) {
    return {block.data, block.length};
}

std::string_view textOf(const TicketBlock& block) {
    return {reinterpret_cast<const char*>(block.data), block.length};
}

// Keeps the first units; those beyond the limit are stepped over, so that the ticket can still be verified.
bool parseUnits(TICKET& ticket) {
    UnitReader reader(ticket.decoded);
    TicketUnit unit{};
    bool cut = false;
    while (reader.next(unit)) {
        if (ticket.units.size() < kUnitLimit) {
            ticket.units.push_back(unit);
        } else if (!cut) {
            cut = true;
            TRACE(2, "VORAKSSO2 Ticket longer than expected. Cancel parsing at this point.\n");
        }
    }
    ticket.signature = reader.atSignature() ? bytesOf(unit.block) : std::span<const std::uint8_t>();
    return reader.atSignature();
}

void forgetTicket(TICKET& ticket) {
    ticket.state = TicketState::created;
    ticket.units.clear();
    ticket.signature = {};
    ticket.userResult = {};
    ticket.decoded.clear();
    ticket.text.clear();
}

// 0, or the last error. Takes the code page and the units; a foreign character lets the parsing go on.
std::uint32_t decodeAndParse(TICKET& ticket) {
    if (ticket.text.size() < 4) {
        TRACE_ERROR("DecodeB64len returns %d. iDecLength=%u\n", kBase64TooShort, 0U);
        return kErrorMalformed;
    }
    ticket.decoded.resize(ticket.text.size());
    std::uint32_t length = 0;
    const std::int32_t decoded = Decodeb64(ticket.text, ticket.decoded, &length);
    ticket.decoded.resize(length);
    if (decoded != 0 && decoded != kBase64ForeignCharacter) {
        return kErrorMalformed;
    }
    if (ticket.decoded.size() < kUnitsOffset) {
        return kErrorMalformed;
    }
    std::copy_n(ticket.decoded.begin() + 1, ticket.codePage.size(), ticket.codePage.begin());
    if (!parseUnits(ticket)) {
        return kErrorMalformed;
    }
    return decoded == kBase64ForeignCharacter ? kErrorForeignCharacter : 0;
}

std::int32_t setTicket(TICKET& ticket, const char* text) {
    forgetTicket(ticket);
    try {
        ticket.text = text;
        TRACE(2, "Ticket is %30.30s... \n", ticket.text.c_str());
        ticket.lastError = decodeAndParse(ticket);
    } catch (const std::exception&) {  // out of memory, or a text beyond what memory can hold
        ticket.lastError = kErrorNoMemory;
    }
    if (ticket.lastError != 0) {
        forgetTicket(ticket);
        return 0;
    }
    ticket.state = TicketState::parsed;
    return 1;
}

const TicketUnit* findUnit(const TICKET& ticket, std::uint8_t id) {
    const auto unit = std::find_if(ticket.units.begin(), ticket.units.end(),
                                   [id](const TicketUnit& candidate) { return candidate.id == id; });
    return unit != ticket.units.end() ? &*unit : nullptr;
}

std::optional<std::span<const std::uint8_t>> unitBytes(const TICKET& ticket, std::uint8_t id) {
    const TicketUnit* unit = findUnit(ticket, id);
    return unit != nullptr ? std::optional(bytesOf(unit->block)) : std::nullopt;
}

// -1 with the last error.
std::int32_t noValidity(TICKET& ticket, std::uint32_t error) {
    ticket.lastError = error;
    return -1;
}

std::int32_t validityOf(TICKET& ticket) {
    std::optional<std::span<const std::uint8_t>> creation = unitBytes(ticket, kUnitCreationTime);
    if (!creation) {
        return noValidity(ticket, kErrorExpired);
    }
    // Taken as it stands, without a test for twelve, when it is not too long to be a time at all.
    const std::size_t length =
        creation->size() <= kLongestCreationTime ? std::min<std::size_t>(creation->size(), 12) : 0;
    const std::optional<TicketTimes> times = ticketTimes(
        creation->first(length), {unitBytes(ticket, kUnitValidityHours), unitBytes(ticket, kUnitValidityMinutes)});
    if (!times) {
        return noValidity(ticket, kErrorMalformed);
    }
    if (times->age > times->validity) {
        return noValidity(ticket, kErrorExpired);
    }
    const std::int64_t remaining = times->validity - times->age;
    // A remainder beyond 32 bits, of a ticket from the future, would be negative: the whole validity stands for it.
    return remaining <= INT32_MAX ? static_cast<std::int32_t>(remaining) : cappedSeconds(times->validity);
}

std::int32_t refuse(TICKET& ticket, std::uint32_t error) {
    ticket.lastError = error;
    return 0;
}

ValidateResult verifySignature(const TICKET& ticket, std::size_t signedLength) {
    LibraryState& state = libraryState();
    const ThrRecMtxGuard lock(state.cryptoLock);
    SignerCertificate certificate;
    const SignatureParameters parameters{kTicketFormat, cachedProfile(state.ticketKey), nullptr};
    return ValidateTicket(std::span(ticket.decoded).first(signedLength), ticket.signature, state.cryptoTable,
                          parameters, certificate);
}

std::int32_t verify(TICKET& ticket) {
    if (ticket.decoded.empty() || ticket.signature.data() == nullptr) {
        TRACE_ERROR("Ticket has probably not yet been parsed.");
        return refuse(ticket, kErrorMalformed);
    }
    if (ticket.state != TicketState::parsed) {
        TRACE_ERROR("Ticket has not yet been parsed.");
        return refuse(ticket, kErrorState);
    }
    const std::size_t signedLength = signedLengthOf(ticket.decoded.size(), ticket.signature.size());
    if (signedLength == 0) {
        return refuse(ticket, kErrorMalformed);
    }
    const ValidateResult result = verifySignature(ticket, signedLength);
    if (result != VORAK_OK) {
        TRACE_ERROR("Validate ticket failed with rc = %d", result);
        return refuse(ticket, kErrorMalformed);
    }
    if (validityOf(ticket) == -1) {
        return refuse(ticket, kErrorExpired);
    }
    ticket.state = TicketState::verified;
    return 1;
}

const TicketUnit* infoUnit(const TICKET& ticket, std::uint8_t id) {
    if (ticket.state == TicketState::created) {
        TRACE_ERROR("Cannot return InfoUnit (%x) of unparsed ticket.", id);
        return nullptr;
    }
    return findUnit(ticket, id);
}

const TicketBlock* userOf(TICKET& ticket, std::string_view application) {
    if (equalsIgnoringCase(application, "KAV")) {
        const TicketUnit* unit = infoUnit(ticket, kUnitUser);
        return unit != nullptr ? &unit->block : nullptr;
    }
    const TicketBlock* last = nullptr;
    for (const TicketUnit& unit : ticket.units) {
        if (unit.id < kUnitPortalUser || unit.id > kUnitPortalUserLast) {
            continue;
        }
        last = &unit.block;
        if (unit.block.length > application.size() + 1 && startsWithIgnoringCase(textOf(unit.block), application)) {
            const std::span<const std::uint8_t> user = bytesOf(unit.block).subspan(application.size() + 1);
            ticket.userResult = {user.data(), static_cast<std::uint32_t>(user.size())};
            return &ticket.userResult;
        }
    }
    if (last == nullptr) {
        TRACE_ERROR("Cannot find user for application %.*s", static_cast<int>(application.size()), application.data());
        // A whole ticket can be presented by whoever reads the trace: below level 3 only its beginning is shown.
        TRACE(2, "Ticket is %.*s.", traceEnabled(3) ? static_cast<int>(ticket.text.size()) : 30, ticket.text.c_str());
    }
    return last;
}

std::int32_t initializeWithKeyStore(const char* cryptoLibrary, const char* keyStore) {
    LibraryState& state = libraryState();
    if (ensureFrame() != kThrOk) {
        return VORAK_INVALID;
    }
    {
        const ThrRecMtxGuard lock(state.cryptoLock);
        const std::string_view name = keyStore != nullptr ? keyStore : "";
        if (name.size() >= sizeof state.ticketKey.profileName) {
            return VORAK_INVALID;
        }
        std::memset(state.ticketKey.profileName, 0, sizeof state.ticketKey.profileName);
        name.copy(state.ticketKey.profileName, name.size());
        state.ticketKey.profileIsKey = false;
    }
    return VorakInitialize(cryptoLibrary);
}

}  // namespace
}  // namespace quorvanti

using namespace quorvanti;

extern "C" {

QUORVANTI_API int32_t TcktInitialize(const char* cryptoLibrary) {
    return VorakInitialize(cryptoLibrary);
}

QUORVANTI_API int32_t TcktInitializeEx(const char* cryptoLibrary, const char* keyStore) {
    return guarded([&] { return initializeWithKeyStore(cryptoLibrary, keyStore); });
}

QUORVANTI_API int32_t TcktShutdown(void) {
    return VorakShutdown();
}

QUORVANTI_API TICKET* new_TICKET(int32_t kind) {
    if (kind != 1 && kind != 2) {
        return nullptr;
    }
    std::unique_ptr<TICKET> ticket;
    guarded([&] {
        ticket = std::make_unique<TICKET>();
        ticket->kind = static_cast<std::uint8_t>(kind);
        const std::string codePage = propertyCopy("KAV_EXT_CODEPAGE");
        std::copy_n(codePage.begin(), std::min(codePage.size(), ticket->codePage.size()), ticket->codePage.begin());
        return VORAK_OK;
    });
    return ticket.release();
}

QUORVANTI_API void release_TICKET(TICKET** ticket) {
    if (ticket != nullptr) {
        const std::unique_ptr<TICKET> owner(*ticket);
        *ticket = nullptr;
    }
}

QUORVANTI_API int32_t TcktSetTicket(TICKET* ticket, const char* text) {
    return ticket != nullptr && text != nullptr ? setTicket(*ticket, text) : 0;
}

QUORVANTI_API int32_t TcktVerify(TICKET* ticket) {
    if (ticket == nullptr) {
        return 0;
    }
    std::int32_t verified = 0;
    guarded([&] {
        verified = verify(*ticket);
        return VORAK_OK;
    });
    return verified;
}

QUORVANTI_API const TicketUnit* TcktGetInfoUnit(TICKET* ticket, uint8_t id) {
    return ticket != nullptr ? infoUnit(*ticket, id) : nullptr;
}

QUORVANTI_API const TicketBlock* TcktGetUser(TICKET* ticket, const char* application) {
    const TicketBlock* user = nullptr;
    guarded([&] {
        user = ticket != nullptr ? userOf(*ticket, application != nullptr ? application : "portal") : nullptr;
        return VORAK_OK;
    });
    return user;
}

QUORVANTI_API const TicketBlock* TcktGetAuthScheme(TICKET* ticket) {
    const TicketUnit* unit = ticket != nullptr ? findUnit(*ticket, kUnitAuthScheme) : nullptr;
    if (ticket != nullptr && unit == nullptr) {
        TRACE(2, "Cannot find authscheme.");
    }
    return unit != nullptr ? &unit->block : nullptr;
}

QUORVANTI_API int32_t TcktGetValidity(TICKET* ticket) {
    return ticket != nullptr ? validityOf(*ticket) : -1;
}

QUORVANTI_API uint32_t TcktGetLastError(TICKET* ticket) {
    return ticket != nullptr ? ticket->lastError : 0;
}

}  // extern "C"

// Makes one public call again and again, for whoever counts what it costs: warm_calls DATA SCENARIO COUNT
// [TRACE-LEVEL]; the scenarios whose names end with 256 are tokens, the others are tickets. What comes before the
// counted calls (the start of the library, the first reading of the key store) stands outside of
// quorvantiCountedCalls(), so that a profiler can be told to look into that function only.
#include <quorvanti/voraksso.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/speed/scene.h"

namespace {

constexpr int warmUps = 3;
// More certificates than the library remembers, so that each comes as if for the first time.
constexpr std::size_t firstSeenTickets = 64;

struct Call {
    std::vector<std::string> tickets;  // in turn
    std::string profile;               // of a token: its key
    const char* password = nullptr;
    bool isToken = false;
    mutable std::size_t next = 0;

    bool operator()() const {
        const std::string& ticket = tickets[next];
        next = next + 1 < tickets.size() ? next + 1 : 0;
        return isToken ? evaluateToken(ticket) : evaluateTicket(ticket);
    }

private:
    bool evaluateToken(const std::string& ticket) const {
        std::array<char, 1024> payload;
        JwtResult result{};
        result.structSize = sizeof result;
        result.payload = payload.data();
        result.payloadLength = payload.size();
        const std::int32_t code =
            VorakEvalJWToken(ticket.data(), ticket.size(), reinterpret_cast<const std::uint8_t*>(profile.data()),
                             profile.size(), nullptr, &result);
        return code == VORAK_OK && std::string_view(result.subject, result.subjectLength) == "jdoe";
    }

    bool evaluateTicket(const std::string& ticket) const {
        std::array<char, 64> user;
        std::array<char, 16> systemId, client;
        std::uint32_t userLength = user.size(), systemIdLength = systemId.size(), clientLength = client.size();
        TICKET_INFO info{};
        info.struct_size = sizeof info;
        info.user = user.data();
        info.user_capacity = &userLength;
        info.system_id = systemId.data();
        info.system_id_capacity = &systemIdLength;
        info.client = client.data();
        info.client_capacity = &clientLength;
        const std::int32_t code =
            VorakEvalLogonTicketEx(ticket.c_str(), profile.c_str(), password, nullptr, nullptr, &info);
        return code == VORAK_OK && std::string_view(user.data()) == "JDOE";
    }
};

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// "rsa-full": the ticket of that name with its issuer's certificate; "password": a PKCS#12 key store with a password;
// "first-seen": each ticket with a certificate that was not seen before and chains to a trusted one;
// "hs256" and "rs256": the token of that name with its key or certificate.
Call callOf(const std::string& data, const std::string& scenario) {
    Call call;
    if (scenario.ends_with("256")) {
        call.isToken = true;
        call.tickets.push_back(contentOf(data + "/" + scenario + ".token"));
        call.profile = contentOf(data + (scenario == "hs256" ? "/hs256.key" : "/rsa.pem"));
        return call;
    }
    if (scenario == "password") {
        call.tickets.push_back(contentOf(data + "/rsa-bare.ticket"));
        call.profile = data + "/issuer.p12";
        call.password = "opensesame";
        return call;
    }
    if (scenario == "first-seen") {
        for (const quorvanti::speed::Ticket& ticket : quorvanti::speed::chainedTickets(firstSeenTickets)) {
            call.tickets.push_back(ticket.text);
            call.profile = ticket.keyStore;
        }
        return call;
    }
    call.tickets.push_back(contentOf(data + "/" + scenario + ".ticket"));
    call.profile = data + "/" + scenario.substr(0, scenario.find('-')) + ".pem";
    return call;
}

}  // namespace

// Exported and never inlined, for the profiler's sake.
extern "C" QUORVANTI_API bool quorvantiCountedCalls(const void* call, long count);
extern "C" bool quorvantiCountedCalls(const void* call, long count) {
    const Call& make = *static_cast<const Call*>(call);
    bool accepted = true;
    for (long i = 0; i < count; ++i) {
        accepted = make() && accepted;
    }
    return accepted;
}

int main(int count, char** arguments) {
    if (count < 4 || VorakInitialize(nullptr) != VORAK_OK) {
        return 2;
    }
    if (count > 4) {
        QuorvantiSetProperty("KAV_EXT_TRC", "/dev/null");
        QuorvantiSetProperty("KAV_EXT_TRL", arguments[4]);
    }
    const Call call = callOf(arguments[1], arguments[2]);
    bool accepted = true;
    for (int i = 0; i < warmUps; ++i) {
        accepted = call() && accepted;
    }
    bool (*volatile counted)(const void*, long) = quorvantiCountedCalls;  // called, not moved here
    accepted = counted(&call, std::atol(arguments[3])) && accepted;
    VorakShutdown();
    if (!accepted) {
        std::fprintf(stderr, "%s: a ticket was not accepted\n", arguments[2]);
    }
    return accepted ? 0 : 1;
}

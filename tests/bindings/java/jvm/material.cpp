// Writes what the tests in Java evaluate: tickets of an issuing system, good and bad ones, its certificate and key
// store.
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <ctime>
#include <filesystem>
#include <iostream>

using namespace quorvanti::test;

namespace {

TicketBuilder ticketOf(std::string_view user, std::string_view system, std::string_view client) {
    TicketBuilder ticket;
    ticket.creation(std::time(nullptr)).validityHours(8).portalUser("jdoe").authScheme("basicauthentication");
    if (!user.empty()) {
        ticket.user(user);
    }
    if (!system.empty()) {
        ticket.systemId(system);
    }
    if (!client.empty()) {
        ticket.client(client);
    }
    return ticket;
}

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace

int main(int count, char** words) {
    if (count != 2) {
        std::cerr << "usage: java_test_material DIRECTORY\n";
        return 2;
    }
    const std::filesystem::path directory = words[1];
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    const auto write = [&](const char* name, std::string_view content) {
        writeFile((directory / name).string(), content);
    };
    const InProcessIssuer issuer(KeyKind::ec);
    const std::time_t now = std::time(nullptr);
    write("trusted.pem", issuer.certificatePem());
    write("issuer.der", textOf(issuer.certificateDer()));
    write("keys.p12", textOf(issuer.pkcs12("opensesame")));
    const std::string logon = issuer.ticket(ticketOf("JDOE", "PRD", "100"));
    write("logon", logon);
    std::string tampered = logon;
    tampered[40] = tampered[40] == 'A' ? 'B' : 'A';
    write("tampered", tampered);
    write("expired", issuer.ticket(TicketBuilder::logon(now - 10 * 3600)));
    // Valid for as long as the others: a whole suite may run between here and its evaluation.
    write("assertion", issuer.ticket(TicketBuilder::assertion(now, "DEV", "200").validityHours(8)));
    write("unicode", issuer.ticket(ticketOf("J\xC3\xBCrgen \xF0\x9F\x98\x80", "PRD", "100")));
    write("zero", issuer.ticket(ticketOf("A\xC0\x80"
                                         "B",
                                         "PRD", "100")));
    write("no_user", issuer.ticket(ticketOf("", "PRD", "100")));
    write("no_system", issuer.ticket(ticketOf("JDOE", "", "100")));
    write("no_client", issuer.ticket(ticketOf("JDOE", "PRD", "")));
    return 0;
}

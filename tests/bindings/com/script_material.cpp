// Writes what the scripts are given: a key store of our own and its certificate, an issuing system's certificate, a
// ticket of it that is good and one that has expired.
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <ctime>
#include <filesystem>
#include <iostream>

using namespace quorvanti::test;

int main(int count, char** words) {
    if (count != 2) {
        std::cerr << "usage: com_script_material DIRECTORY\n";
        return 2;
    }
    const std::filesystem::path directory = words[1];
    std::filesystem::create_directories(directory);
    const auto write = [&](const char* name, std::string_view content) {
        writeFile((directory / name).string(), content);
    };
    const InProcessIssuer own(KeyKind::rsa, "own");
    const Bytes keyStore = own.pkcs12("opensesame");
    write("own.p12", {reinterpret_cast<const char*>(keyStore.data()), keyStore.size()});
    write("own.pem", own.certificatePem());
    const InProcessIssuer issuer(KeyKind::ec, "portal");
    write("trusted.pem", issuer.certificatePem());
    const std::time_t now = std::time(nullptr);
    write("logon", issuer.ticket(TicketBuilder::logon(now)));
    write("expired", issuer.ticket(TicketBuilder::logon(now - 10 * 3600)));
    return 0;
}

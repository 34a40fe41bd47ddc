// A server that trusts one portal and calls one other system on behalf of its users.
//
//   request_handler TRUSTED_ISSUERS OWN_KEYSTORE NEXT_SYSTEM NEXT_CLIENT <requests
//
// Each line of standard input stands for a request: the value of the cookie that carries the ticket, percent-encoded as
// browsers send it. The password of the own key store comes from the environment variable KEYSTORE_PASSWORD.
#include <quorvanti/voraksso.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace {

class Refused : public std::runtime_error {
public:
    explicit Refused(std::int32_t code)
        : std::runtime_error(std::to_string(VORAK_STANDARD_ERROR(code)) + ", crypto library " +
                             std::to_string(VORAK_SSF_ERROR(code))) {}
};

void check(std::int32_t code) {
    if (code != VORAK_OK) {
        throw Refused(code);
    }
}

// The library from its start to its end: one for the whole process.
class Library {
public:
    Library() { check(VorakInitialize(nullptr)); }
    ~Library() { VorakShutdown(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

// A buffer with its capacity, as the library fills them.
class Text {
public:
    Text(char*& buffer, std::uint32_t*& capacity) {
        buffer = room_.data();
        capacity = &length_;
    }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    std::string get() const { return {room_.data(), length_}; }

private:
    std::array<char, 256> room_{};  // a ticket's texts have up to 256 bytes
    std::uint32_t length_ = 256;
};

struct User {
    std::string name;
    std::string system;  // that issued the ticket
};

// "%2B" is "+"; assertion tickets have "!" in its place.
std::string undoTransport(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        unsigned value = 0;
        if (text.size() >= 3 && text[0] == '%' &&
            std::from_chars(text.data() + 1, text.data() + 3, value, 16).ptr == text.data() + 3) {
            result += static_cast<char>(value);
            text.remove_prefix(3);
        } else {
            result += text[0] == '!' ? '+' : text[0];
            text.remove_prefix(1);
        }
    }
    return result;
}

class Server {
public:
    Server(std::string trustedIssuers, std::string keyStore, const char* password, std::string nextSystem,
           std::string nextClient)
        : trustedIssuers_(std::move(trustedIssuers)),
          keyStore_(std::move(keyStore)),
          password_(password),
          nextSystem_(std::move(nextSystem)),
          nextClient_(std::move(nextClient)) {}

    // May be called by several threads at once.
    std::string handle(const std::string& cookie) const {
        User user;
        try {
            user = accept(undoTransport(cookie));
        } catch (const Refused& reason) {
            // For the log of the server; the client need not know why.
            std::cerr << "refused: " << reason.what() << '\n';
            return "401";
        }
        try {
            return "200 " + user.name + " of " + user.system + "\nto " + nextSystem_ + ": " + createTicket(user);
        } catch (const Refused& reason) {
            std::cerr << "no ticket for " << nextSystem_ << ": " << reason.what() << '\n';
            return "500";
        }
    }

private:
    // Who sends this ticket?
    User accept(const std::string& ticket) const {
        TICKET_INFO info{};
        info.struct_size = sizeof info;
        std::copy_n("4110", 4, info.code_page);  // UTF-8
        const Text name(info.user, info.user_capacity);
        const Text system(info.system_id, info.system_id_capacity);
        check(VorakEvalLogonTicketEx(ticket.c_str(), trustedIssuers_.c_str(), nullptr, nullptr, nullptr, &info));
        return {name.get(), system.get()};
    }

    // A ticket with which the next system accepts the same user for the next two minutes.
    std::string createTicket(const User& user) const {
        const auto userLength = static_cast<std::uint32_t>(user.name.size());
        const auto systemLength = static_cast<std::uint32_t>(nextSystem_.size());
        const auto clientLength = static_cast<std::uint32_t>(nextClient_.size());
        AssertionContent content{};
        content.structSize = sizeof content;
        std::copy_n("4110", 4, content.codePage);
        content.user = user.name.data();
        content.userLength = &userLength;
        content.recipientSysId = nextSystem_.data();
        content.recipientSysIdLength = &systemLength;
        content.recipientClient = nextClient_.data();
        content.recipientClientLength = &clientLength;
        std::string ticket(4096, '\0');
        auto length = static_cast<std::uint32_t>(ticket.size());
        check(VorakCreateAssertionTicket("WEB", "100", keyStore_.c_str(), password_, &content, ticket.data(), &length));
        ticket.resize(length);
        return ticket;
    }

    std::string trustedIssuers_;
    std::string keyStore_;
    const char* password_;
    std::string nextSystem_;
    std::string nextClient_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::cerr << "usage: request_handler TRUSTED_ISSUERS OWN_KEYSTORE NEXT_SYSTEM NEXT_CLIENT\n";
        return 2;
    }
    try {
        const Library library;
        QuorvantiSetProperty("SSF_HASH", "SHA256");
        const Server server(argv[1], argv[2], std::getenv("KEYSTORE_PASSWORD"), argv[3], argv[4]);
        for (std::string line; std::getline(std::cin, line);) {
            std::cout << server.handle(line) << '\n';
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}

#include "tools/sso2ticket/ticket_input.h"

#include "tools/sso2ticket/failure.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace quorvanti {

namespace {

// Far more than any ticket; what is not a ticket need not be read to its end.
constexpr std::size_t ticketLimit = 65536;
constexpr std::size_t tokenLimit = 1U << 20U;

constexpr const char* whiteSpace = " \t\r\n";

std::string readAll(std::istream& stream, const std::string& name, std::size_t limit) {
    std::string text(limit, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    if (stream.bad()) {
        throw Failure(ExitCode::inputUnreadable, name + " cannot be read");
    }
    return text;
}

std::string readSource(const std::string& argument, std::istream& standardInput, std::size_t limit) {
    if (argument == "-") {
        return readAll(standardInput, "standard input", limit);
    }
    if (argument.starts_with('@')) {
        const std::string name = argument.substr(1);
        std::ifstream stream(name, std::ios::binary);
        if (!stream || stream.peek() == std::ifstream::traits_type::eof()) {
            throw Failure(ExitCode::inputUnreadable, "the file " + name + " cannot be read, or is empty");
        }
        return readAll(stream, name, limit);
    }
    return argument;
}

void trim(std::string& text) {
    text.erase(text.find_last_not_of(whiteSpace) + 1);
    text.erase(0, text.find_first_not_of(whiteSpace));
}

void requireText(const std::string& text, const char* what) {
    if (text.empty()) {
        throw Failure(ExitCode::inputUnreadable, std::string("there is no ") + what + " in the input");
    }
    if (text.find('\0') != std::string::npos) {
        throw Failure(ExitCode::inputUnreadable, "the input is not text: it contains a zero byte");
    }
}

}  // namespace

std::string readTicket(const std::string& argument, std::istream& standardInput) {
    std::string text = tidyTicket(readSource(argument, standardInput, ticketLimit));
    requireText(text, "ticket");
    return text;
}

std::string readToken(const std::string& argument, std::istream& standardInput) {
    std::string text = readSource(argument, standardInput, tokenLimit + 1);
    if (text.size() > tokenLimit) {
        throw Failure(ExitCode::inputUnreadable, "the token is longer than 1 MiB");
    }
    trim(text);
    requireText(text, "token");
    return text;
}

std::string tidyTicket(std::string text) {
    trim(text);
    std::replace(text.begin(), text.end(), '!', '+');
    return text;
}

}  // namespace quorvanti

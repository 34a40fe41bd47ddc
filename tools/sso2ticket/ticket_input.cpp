#include "tools/sso2ticket/ticket_input.h"

#include "tools/sso2ticket/failure.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace quorvanti {

namespace {

// Far more than any ticket; what is not a ticket need not be read to its end.
constexpr std::size_t inputLimit = 65536;

std::string readAll(std::istream& stream, const std::string& name) {
    std::string text(inputLimit, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    if (stream.bad()) {
        throw Failure(ExitCode::inputUnreadable, name + " cannot be read");
    }
    return text;
}

std::string readSource(const std::string& argument, std::istream& standardInput) {
    if (argument == "-") {
        return readAll(standardInput, "standard input");
    }
    if (argument.starts_with('@')) {
        const std::string name = argument.substr(1);
        std::ifstream stream(name, std::ios::binary);
        if (!stream || stream.peek() == std::ifstream::traits_type::eof()) {
            throw Failure(ExitCode::inputUnreadable, "the file " + name + " cannot be read, or is empty");
        }
        return readAll(stream, name);
    }
    return argument;
}

}  // namespace

std::string readTicket(const std::string& argument, std::istream& standardInput) {
    std::string text = tidyTicket(readSource(argument, standardInput));
    if (text.empty()) {
        throw Failure(ExitCode::inputUnreadable, "there is no ticket in the input");
    }
    if (text.find('\0') != std::string::npos) {
        throw Failure(ExitCode::inputUnreadable, "the input is not text: it contains a zero byte");
    }
    return text;
}

std::string tidyTicket(std::string text) {
    static constexpr const char* whiteSpace = " \t\r\n";
    text.erase(text.find_last_not_of(whiteSpace) + 1);
    text.erase(0, text.find_first_not_of(whiteSpace));
    std::replace(text.begin(), text.end(), '!', '+');
    return text;
}

}  // namespace quorvanti

// Gets the ticket's text from where the caller has it.
#pragma once

#include <iosfwd>
#include <string>

namespace quorvanti {

// The text itself, "@file" or "-" for `standardInput`. Throws Failure when there is nothing to be read.
std::string readTicket(const std::string& argument, std::istream& standardInput);

// The same for a JSON Web Token, without the white space at its ends. Throws Failure also when it is too long.
std::string readToken(const std::string& argument, std::istream& standardInput);

// White space at either end belongs to the file and not to the ticket; a "!" is the "+" that assertion tickets are
// written without. The library itself takes neither.
std::string tidyTicket(std::string text);

}  // namespace quorvanti

// Runs a program and keeps what it prints.
#pragma once

#include <string>
#include <vector>

namespace quorvanti::test {

struct CommandResult {
    int exitCode;     // 1000 and more when the program did not end by itself
    std::string out;  // as text, whatever ends its lines
    std::string err;
    std::string bytes;  // of the output, as they came
};

// The program is a path or is looked up as the system does it; "openssl" is the one that belongs to this build's tests.
CommandResult runCommand(const std::vector<std::string>& words, const std::string& in = "");

}  // namespace quorvanti::test

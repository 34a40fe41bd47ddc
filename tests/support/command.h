// Runs a program as a shell would, and keeps what it prints.
#pragma once

#include "tests/support/temporary_directory.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace quorvanti::test {

struct CommandResult {
    int exitCode;
    std::string out;
    std::string err;
};

inline CommandResult runCommand(const std::vector<std::string>& words, const std::string& in = "") {
    const TemporaryDirectory directory;
    writeFile(directory.file("in"), in);
    std::string command;
    for (const std::string& word : words) {
        command += "\"" + word + "\" ";
    }
    command +=
        "<\"" + directory.file("in") + "\" >\"" + directory.file("out") + "\" 2>\"" + directory.file("err") + "\"";
    const int status = std::system(command.c_str());
    // The low byte tells of a signal; no exit code is that large.
    const int exitCode = status % 256 == 0 ? status / 256 : 1000 + status;
    return {exitCode, readFile(directory.file("out")), readFile(directory.file("err"))};
}

}  // namespace quorvanti::test

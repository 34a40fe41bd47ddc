// What stops the program before there is a result.
#pragma once

#include "tools/sso2ticket/exit_code.h"

#include <stdexcept>
#include <string>

namespace quorvanti {

class Failure : public std::runtime_error {
public:
    Failure(ExitCode exit, const std::string& message) : std::runtime_error(message), exit_(exit) {}
    ExitCode exit() const { return exit_; }

private:
    ExitCode exit_;
};

}  // namespace quorvanti

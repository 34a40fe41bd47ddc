// An environment variable of this process with another value for a while.
#pragma once

#include "tools/sso2ticket/loaded_library.h"

#include <cstdlib>
#include <optional>
#include <string>

namespace quorvanti {

class EnvironmentOverride {
public:
    // Null: the variable is away.
    EnvironmentOverride(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) {
            before_ = before;
        }
        setEnvironment(name, value);
    }
    ~EnvironmentOverride() { setEnvironment(name_, before_ ? before_->c_str() : nullptr); }
    EnvironmentOverride(const EnvironmentOverride&) = delete;
    EnvironmentOverride& operator=(const EnvironmentOverride&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

}  // namespace quorvanti

// Sets or removes an environment variable for the length of a scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace quorvanti::test {

class EnvironmentVariable {
public:
    // Null removes the variable.
    EnvironmentVariable(std::string name, const char* value) : name_(std::move(name)) {
        if (const char* before = std::getenv(name_.c_str())) {
            before_ = before;
        }
        assign(value);
    }
    ~EnvironmentVariable() { assign(before_ ? before_->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void assign(const char* value) const {
        if (value != nullptr) {
            setenv(name_.c_str(), value, 1);
        } else {
            unsetenv(name_.c_str());
        }
    }

    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace quorvanti::test

// Sets or removes an environment variable for the length of a scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace quorvanti::test {

// Null removes the variable.
void assignVariable(const std::string& name, const char* value);

class EnvironmentVariable {
public:
    // Null removes the variable.
    EnvironmentVariable(std::string name, const char* value) : name_(std::move(name)) {
        if (const char* before = std::getenv(name_.c_str())) {
            before_ = before;
        }
        assignVariable(name_, value);
    }
    ~EnvironmentVariable() { assignVariable(name_, before_ ? before_->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace quorvanti::test

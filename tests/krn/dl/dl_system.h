// What the system's own loader says, asked past the loader under test.
#pragma once

#include <optional>
#include <string>

namespace quorvanti::test {

// As it stands in a message of the loader: `Error 126 = "text"`, the text in one line.
std::string loadErrorOf(const char* library);
std::string findErrorOf(const char* library, const char* function);

// Lets the loader's next unload of this library fail; gives back with what error.
class RefusedUnload {
public:
    RefusedUnload(const char* library, const char* holder);
    ~RefusedUnload();
    RefusedUnload(const RefusedUnload&) = delete;
    RefusedUnload& operator=(const RefusedUnload&) = delete;
    const std::string& error() const { return error_; }

private:
    void* holder_ = nullptr;
    std::string error_;
};

// A library that is there in every process or can be had by its bare name.
extern const char* const systemLibrary;
// The full name by which the system knows the file.
std::string systemNameOf(const std::string& file);
// Whether every library of the process sees the symbol; empty where no system does such a thing.
std::optional<bool> seenByAll(const char* symbol);

}  // namespace quorvanti::test

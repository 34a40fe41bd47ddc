// The shared libraries of this process.
#pragma once

#include <string>

namespace quorvanti {

// The path of the library that has `symbol`, and where it is. Empty and null when no library has it.
struct LoadedSymbol {
    std::string path;
    void* address = nullptr;
};

LoadedSymbol findLoaded(const char* symbol);  // looks into libraries that the program is not linked with, too
std::string libraryAt(const void* address);   // the path of the library that the address lies in, or ""

// Null removes the variable.
void setEnvironment(const char* name, const char* value);

}  // namespace quorvanti

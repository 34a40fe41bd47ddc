// Files with keys in them: whole or not at all, and nobody else's to read.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace quorvanti {

// Up to 16 MB; throws Failure (key store or configuration) when there is none or it cannot be read.
std::vector<std::uint8_t> readWholeFile(const std::string& name);
// The same for a file's name or "-" for standard input.
std::vector<std::uint8_t> readWholeInput(const std::string& name, std::istream& standardInput);

// Makes the file, readable for its owner only. Throws Failure when one is there already or it cannot be written; then
// nothing is left.
void createPrivateFile(const std::string& name, std::span<const std::uint8_t> content);

// Writes beside the file and puts it in its place at the end, with the owner and the permissions the file had. Throws
// Failure, also when it cannot give the file back to its owner; then the file is as it was.
void replacePrivateFile(const std::string& name, std::span<const std::uint8_t> content);

// The platform's share. A new file for the owner only, "" when it was written, else the system's reason.
std::string writeNewPrivateFile(const std::string& name, std::span<const std::uint8_t> content);
// Puts one file into the place of another, with its owner and permissions: "", or the system's reason.
std::string putInPlaceOf(const std::string& target, const std::string& name);

}  // namespace quorvanti

// Writing files that only their owner may read.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quorvanti::provider {

enum class WriteState : std::uint8_t { ok, exists, failed };

// Makes the file; never touches one that is there.
WriteState createPrivateFile(const std::string& path, std::span<const std::uint8_t> content);

// Puts the content in the place of the file's, as a whole or not at all. Owner and permissions stay as they were.
WriteState replacePrivateFile(const std::string& path, std::span<const std::uint8_t> content);

}  // namespace quorvanti::provider

// Who may do what with a file.
#pragma once

#include <optional>
#include <string>

namespace quorvanti::test {

// Whether nobody but the owner may read or write the file; empty where that is its directory's business.
std::optional<bool> onlyForTheOwner(const std::string& file);

}  // namespace quorvanti::test

// Who may do what with a file.
#pragma once

#include <optional>
#include <string>

namespace quorvanti::test {

// Whether nobody but the owner may read or write the file; empty where that is its directory's business.
std::optional<bool> onlyForTheOwner(const std::string& file);

// Makes the file somebody else's, its group too; false where this user may not.
bool giveAway(const std::string& file);
// Whether the file belongs to whom giveAway gives files to.
bool isGivenAway(const std::string& file);

}  // namespace quorvanti::test

#include "tests/support/file_access.h"

namespace quorvanti::test {

std::optional<bool> onlyForTheOwner(const std::string&) {
    return std::nullopt;
}

bool giveAway(const std::string&) {
    return false;
}

bool isGivenAway(const std::string&) {
    return false;
}

}  // namespace quorvanti::test

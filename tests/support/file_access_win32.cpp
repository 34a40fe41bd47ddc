#include "tests/support/file_access.h"

namespace quorvanti::test {

std::optional<bool> onlyForTheOwner(const std::string&) {
    return std::nullopt;
}

}  // namespace quorvanti::test

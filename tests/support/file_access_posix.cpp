#include "tests/support/file_access.h"

#include <sys/stat.h>

namespace quorvanti::test {

std::optional<bool> onlyForTheOwner(const std::string& file) {
    struct stat facts {};
    return stat(file.c_str(), &facts) == 0 && (facts.st_mode & 0777) == 0600;
}

}  // namespace quorvanti::test

#include "tests/support/file_access.h"

#include <sys/stat.h>
#include <unistd.h>

namespace quorvanti::test {
namespace {

constexpr uid_t kSomebody = 12345;
constexpr gid_t kTheirGroup = 23456;

}  // namespace

std::optional<bool> onlyForTheOwner(const std::string& file) {
    struct stat facts {};
    return stat(file.c_str(), &facts) == 0 && (facts.st_mode & 0777) == 0600;
}

bool giveAway(const std::string& file) {
    return chown(file.c_str(), kSomebody, kTheirGroup) == 0;
}

bool isGivenAway(const std::string& file) {
    struct stat facts {};
    return stat(file.c_str(), &facts) == 0 && facts.st_uid == kSomebody && facts.st_gid == kTheirGroup;
}

}  // namespace quorvanti::test

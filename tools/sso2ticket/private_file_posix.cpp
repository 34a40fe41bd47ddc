#include "tools/sso2ticket/private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace quorvanti {

namespace {

bool writeAll(int descriptor, std::span<const std::uint8_t> content) {
    while (!content.empty()) {
        const ssize_t written = write(descriptor, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content = content.subspan(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return fsync(descriptor) == 0;
}

}  // namespace

std::string writeNewPrivateFile(const std::string& name, std::span<const std::uint8_t> content) {
    const int descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        return std::generic_category().message(errno);
    }
    int error = writeAll(descriptor, content) ? 0 : errno;
    if (close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(name.c_str());
        return std::generic_category().message(error);
    }
    return {};
}

std::string putInPlaceOf(const std::string& target, const std::string& name) {
    struct stat before {};
    struct stat now {};
    if (stat(target.c_str(), &before) != 0 || stat(name.c_str(), &now) != 0) {
        return std::generic_category().message(errno);
    }
    // The owner first: a file that changes hands loses some of its permissions.
    const bool sameHands = before.st_uid == now.st_uid && before.st_gid == now.st_gid;
    if (!sameHands && chown(name.c_str(), before.st_uid, before.st_gid) != 0) {
        return "it belongs to another user or group: " + std::generic_category().message(errno);
    }
    const bool done =
        chmod(name.c_str(), before.st_mode & 07777) == 0 && std::rename(name.c_str(), target.c_str()) == 0;
    return done ? "" : std::generic_category().message(errno);
}

}  // namespace quorvanti

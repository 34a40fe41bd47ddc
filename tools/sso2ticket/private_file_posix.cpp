#include "tools/sso2ticket/private_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
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

}  // namespace quorvanti

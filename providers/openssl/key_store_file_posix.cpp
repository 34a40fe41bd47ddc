#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "providers/openssl/clock.h"
#include "providers/openssl/key_store_file.h"

namespace quorvanti::provider {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

class Descriptor {
public:
    explicit Descriptor(const std::string& path) : number_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return number_; }

private:
    int number_;
};

std::int64_t nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * nanosecondsPerSecond + time.tv_nsec;
}

FileState stateOf(const struct stat& status, FileStamp& stamp) {
    stamp.volume = static_cast<std::uint64_t>(status.st_dev);
    stamp.file = static_cast<std::uint64_t>(status.st_ino);
    stamp.size = static_cast<std::uint64_t>(status.st_size);
    stamp.modified = nanoseconds(status.st_mtim);
    stamp.changed = nanoseconds(status.st_ctim);
    return S_ISREG(status.st_mode) ? FileState::ok : FileState::notRegular;
}

FileState stateOfError() {
    return errno == ENOENT || errno == ENOTDIR ? FileState::missing : FileState::unreadable;
}

FileState readAll(int descriptor, std::size_t expected, std::size_t mostBytes, std::vector<std::uint8_t>& content) {
    constexpr std::size_t step = std::size_t{64} * 1024;
    content.clear();
    content.reserve(expected + 2 * step);  // in one piece: growing would leave copies of keys behind
    for (;;) {
        const std::size_t used = content.size();
        content.resize(used + step);
        const ssize_t count = ::read(descriptor, content.data() + used, step);
        content.resize(used + static_cast<std::size_t>(count > 0 ? count : 0));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return FileState::unreadable;
        if (count == 0)
            return FileState::ok;
        if (content.size() > mostBytes)
            return FileState::tooLarge;
    }
}

}  // namespace

FileState stampFile(const std::string& path, FileStamp& stamp) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return stateOfError();
    return stateOf(status, stamp);
}

FileState readFile(const std::string& path, std::size_t mostBytes, std::vector<std::uint8_t>& content,
                   FileStamp& stamp) {
    constexpr int attempts = 5;
    const Descriptor descriptor(path);
    if (descriptor.get() < 0)
        return stateOfError();
    // Once more when the file changed while it was read.
    for (int attempt = 0; attempt < attempts; ++attempt) {
        struct stat before {};
        struct stat after {};
        FileStamp afterwards;
        if (::fstat(descriptor.get(), &before) != 0 || ::lseek(descriptor.get(), 0, SEEK_SET) != 0)
            return FileState::unreadable;
        FileState state = stateOf(before, stamp);
        if (state == FileState::ok)
            state = stamp.size > mostBytes ? FileState::tooLarge
                                           : readAll(descriptor.get(), stamp.size, mostBytes, content);
        if (state != FileState::ok)
            return state;
        if (::fstat(descriptor.get(), &after) != 0)
            return FileState::unreadable;
        if (stateOf(after, afterwards) == FileState::ok && afterwards == stamp)
            return FileState::ok;
    }
    return FileState::unreadable;
}

bool writtenJustNow(const FileStamp& stamp) {
    // Coarser than any clock that file systems stamp with.
    constexpr std::int64_t margin = 2 * nanosecondsPerSecond;
    const std::int64_t age =
        now() * nanosecondsPerSecond - (stamp.changed > stamp.modified ? stamp.changed : stamp.modified);
    return age < margin;
}

}  // namespace quorvanti::provider

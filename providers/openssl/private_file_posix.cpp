#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "providers/openssl/private_file.h"

namespace quorvanti::provider {
namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    bool isOpen() const { return number_ >= 0; }
    int get() const { return number_; }

private:
    int number_;
};

bool writeAll(int descriptor, std::span<const std::uint8_t> content) {
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0)
            content = content.subspan(static_cast<std::size_t>(written));
    }
    return ::fsync(descriptor) == 0;
}

struct FreeMemory {
    void operator()(char* text) const { std::free(text); }
};

// The file itself when the path is a link to it.
std::string resolved(const std::string& path) {
    const std::unique_ptr<char, FreeMemory> real(::realpath(path.c_str(), nullptr));
    return real != nullptr ? std::string(real.get()) : path;
}

// The name may only be used again after a crash once it is on the disk.
void syncDirectoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const Descriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.isOpen())
        ::fsync(descriptor.get());
}

bool writeLike(const struct stat& model, int descriptor, std::span<const std::uint8_t> content) {
    // Giving the file to another owner is for root only; for others it is the same owner anyway, or the attempt that
    // fails leaves a file of their own.
    const bool sameOwner = ::fchown(descriptor, model.st_uid, model.st_gid) == 0;
    const mode_t mode = sameOwner ? model.st_mode & 07777U : model.st_mode & 0700U;
    return ::fchmod(descriptor, mode) == 0 && writeAll(descriptor, content);
}

}  // namespace

WriteState createPrivateFile(const std::string& path, std::span<const std::uint8_t> content) {
    const Descriptor descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly));
    if (!descriptor.isOpen())
        return errno == EEXIST ? WriteState::exists : WriteState::failed;
    if (!writeAll(descriptor.get(), content)) {
        ::unlink(path.c_str());
        return WriteState::failed;
    }
    syncDirectoryOf(path);
    return WriteState::ok;
}

WriteState replacePrivateFile(const std::string& path, std::span<const std::uint8_t> content) {
    const std::string target = resolved(path);
    struct stat model {};
    if (::stat(target.c_str(), &model) != 0 || !S_ISREG(model.st_mode))
        return WriteState::failed;
    std::string temporary = target + ".XXXXXX";
    const Descriptor descriptor(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!descriptor.isOpen())
        return WriteState::failed;
    if (!writeLike(model, descriptor.get(), content) || std::rename(temporary.c_str(), target.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return WriteState::failed;
    }
    syncDirectoryOf(target);
    return WriteState::ok;
}

}  // namespace quorvanti::provider

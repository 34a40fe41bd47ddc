#include <windows.h>

#include "providers/openssl/clock.h"
#include "providers/openssl/key_store_file.h"

namespace quorvanti::provider {
namespace {

class File {
public:
    explicit File(const std::string& path)
        : handle_(::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    ~File() {
        if (isOpen())
            ::CloseHandle(handle_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

std::uint64_t join(DWORD high, DWORD low) {
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

FileState stateOfError() {
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME ||
                   error == ERROR_BAD_NETPATH
               ? FileState::missing
               : FileState::unreadable;
}

FileState stateOf(HANDLE file, FileStamp& stamp) {
    BY_HANDLE_FILE_INFORMATION information{};
    if (::GetFileType(file) != FILE_TYPE_DISK)
        return FileState::notRegular;
    if (::GetFileInformationByHandle(file, &information) == 0)
        return FileState::unreadable;
    if ((information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return FileState::notRegular;
    stamp.volume = information.dwVolumeSerialNumber;
    stamp.file = join(information.nFileIndexHigh, information.nFileIndexLow);
    stamp.size = join(information.nFileSizeHigh, information.nFileSizeLow);
    stamp.modified = static_cast<std::int64_t>(
        join(information.ftLastWriteTime.dwHighDateTime, information.ftLastWriteTime.dwLowDateTime));
    stamp.changed = 0;
    return FileState::ok;
}

FileState readAll(HANDLE file, std::size_t expected, std::size_t mostBytes, std::vector<std::uint8_t>& content) {
    constexpr DWORD step = 64 * 1024;
    content.clear();
    content.reserve(expected + 2 * step);  // in one piece: growing would leave copies of keys behind
    for (;;) {
        const std::size_t used = content.size();
        content.resize(used + step);
        DWORD count = 0;
        const BOOL done = ::ReadFile(file, content.data() + used, step, &count, nullptr);
        content.resize(used + count);
        if (done == 0)
            return FileState::unreadable;
        if (count == 0)
            return FileState::ok;
        if (content.size() > mostBytes)
            return FileState::tooLarge;
    }
}

}  // namespace

FileState stampFile(const std::string& path, FileStamp& stamp) {
    const File file(path);
    return file.isOpen() ? stateOf(file.get(), stamp) : stateOfError();
}

FileState readFile(const std::string& path, std::size_t mostBytes, std::vector<std::uint8_t>& content,
                   FileStamp& stamp) {
    constexpr int attempts = 5;
    const File file(path);
    if (!file.isOpen())
        return stateOfError();
    // Once more when the file changed while it was read.
    for (int attempt = 0; attempt < attempts; ++attempt) {
        FileStamp afterwards;
        if (::SetFilePointer(file.get(), 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER)
            return FileState::notRegular;
        FileState state = stateOf(file.get(), stamp);
        if (state == FileState::ok)
            state = stamp.size > mostBytes ? FileState::tooLarge : readAll(file.get(), stamp.size, mostBytes, content);
        if (state != FileState::ok)
            return state;
        if (stateOf(file.get(), afterwards) == FileState::ok && afterwards == stamp)
            return FileState::ok;
    }
    return FileState::unreadable;
}

bool writtenJustNow(const FileStamp& stamp) {
    // In units of 100 ns since 1601; coarser than any clock that file systems stamp with.
    constexpr std::int64_t unitsPerSecond = 10'000'000;
    constexpr std::int64_t secondsFrom1601To1970 = 11'644'473'600;
    constexpr std::int64_t margin = 2 * unitsPerSecond;
    return (now() + secondsFrom1601To1970) * unitsPerSecond - stamp.modified < margin;
}

}  // namespace quorvanti::provider

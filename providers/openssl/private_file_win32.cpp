#include <windows.h>

#include <algorithm>
#include <vector>

#include "providers/openssl/private_file.h"

namespace quorvanti::provider {
namespace {

bool writeAll(HANDLE file, std::span<const std::uint8_t> content) {
    constexpr std::size_t step = 1U << 20U;
    while (!content.empty()) {
        DWORD written = 0;
        if (::WriteFile(file, content.data(), static_cast<DWORD>(std::min(step, content.size())), &written, nullptr) ==
            0)
            return false;
        content = content.subspan(written);
    }
    return ::FlushFileBuffers(file) != 0;
}

// A new file takes its permissions from its directory, which is where Windows keeps that decision.
WriteState writeNew(const std::string& path, std::span<const std::uint8_t> content) {
    const HANDLE file =
        ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return ::GetLastError() == ERROR_FILE_EXISTS ? WriteState::exists : WriteState::failed;
    const bool written = writeAll(file, content);
    ::CloseHandle(file);
    if (!written)
        ::DeleteFileA(path.c_str());
    return written ? WriteState::ok : WriteState::failed;
}

}  // namespace

WriteState createPrivateFile(const std::string& path, std::span<const std::uint8_t> content) {
    return writeNew(path, content);
}

WriteState replacePrivateFile(const std::string& path, std::span<const std::uint8_t> content) {
    const std::string temporary = path + "." + std::to_string(::GetCurrentProcessId()) + ".tmp";
    if (writeNew(temporary, content) != WriteState::ok)
        return WriteState::failed;
    // Keeps the permissions of the file that is replaced.
    if (::ReplaceFileA(path.c_str(), temporary.c_str(), nullptr, REPLACEFILE_WRITE_THROUGH, nullptr, nullptr) != 0)
        return WriteState::ok;
    ::DeleteFileA(temporary.c_str());
    return WriteState::failed;
}

}  // namespace quorvanti::provider

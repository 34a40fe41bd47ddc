#include "tools/sso2ticket/private_file.h"

#include <windows.h>

#include <system_error>

namespace quorvanti {

namespace {

std::string reason(DWORD error) {
    return std::system_category().message(static_cast<int>(error));
}

}  // namespace

// Who may read it follows from the directory, as always on this system.
std::string writeNewPrivateFile(const std::string& name, std::span<const std::uint8_t> content) {
    HANDLE file = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return reason(GetLastError());
    }
    DWORD written = 0;
    const bool good = WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != 0 &&
                      written == content.size() && FlushFileBuffers(file) != 0;
    const DWORD error = good ? ERROR_SUCCESS : GetLastError();
    CloseHandle(file);
    if (!good) {
        DeleteFileA(name.c_str());
        return reason(error);
    }
    return {};
}

// Somebody may have said of the old file itself who may read it.
std::string putInPlaceOf(const std::string& target, const std::string& name) {
    const BOOL done = ReplaceFileA(target.c_str(), name.c_str(), nullptr, REPLACEFILE_WRITE_THROUGH, nullptr, nullptr);
    return done != FALSE ? "" : reason(GetLastError());
}

}  // namespace quorvanti

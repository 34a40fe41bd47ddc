#include "tests/support/descriptor.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <stdlib.h>

#include <cstdint>

namespace quorvanti::test {

namespace {

HANDLE handleOf(int descriptor) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

}  // namespace

int descriptorOf(std::FILE* stream) {
    return _fileno(stream);
}

int openForAppending(const std::string& name) {
    return _open(name.c_str(), _O_WRONLY | _O_CREAT | _O_APPEND | _O_TEXT, _S_IREAD | _S_IWRITE);
}

int duplicateDescriptor(int descriptor) {
    return _dup(descriptor);
}

bool replaceDescriptor(int source, int descriptor) {
    return _dup2(source, descriptor) == 0;
}

void closeDescriptor(int descriptor) {
    _close(descriptor);
}

bool isOpen(int descriptor) {
    return handleOf(descriptor) != INVALID_HANDLE_VALUE;
}

bool childProcessesInherit(int descriptor) {
    DWORD flags = 0;
    return GetHandleInformation(handleOf(descriptor), &flags) == FALSE || (flags & HANDLE_FLAG_INHERIT) != 0;
}

std::string fullDevice() {
    return {};
}

}  // namespace quorvanti::test

#include "tests/support/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace quorvanti::test {

int descriptorOf(std::FILE* stream) {
    return fileno(stream);
}

int openForAppending(const std::string& name) {
    return open(name.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
}

int duplicateDescriptor(int descriptor) {
    return dup(descriptor);
}

bool replaceDescriptor(int source, int descriptor) {
    return dup2(source, descriptor) >= 0;
}

void closeDescriptor(int descriptor) {
    close(descriptor);
}

bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) >= 0;
}

bool childProcessesInherit(int descriptor) {
    return (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0;
}

std::string fullDevice() {
    return "/dev/full";
}

}  // namespace quorvanti::test

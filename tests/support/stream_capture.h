// Redirects a standard stream into a file for the length of a scope and gives back what was written.
#pragma once

#include "tests/support/temporary_directory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace quorvanti::test {

class StreamCapture {
public:
    explicit StreamCapture(std::FILE* stream) : StreamCapture(stream, "") {}
    // Into a file that is there already, such as a device.
    StreamCapture(std::FILE* stream, const std::string& name)
        : stream_(stream), name_(name.empty() ? directory_.file("captured") : name) {
        std::fflush(stream_);
        saved_ = dup(fileno(stream_));
        const int file = open(name_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        if (saved_ < 0 || file < 0 || dup2(file, fileno(stream_)) < 0) {
            throw std::runtime_error("cannot redirect a standard stream");
        }
        close(file);
    }
    ~StreamCapture() {
        std::fflush(stream_);
        dup2(saved_, fileno(stream_));
        close(saved_);
        std::clearerr(stream_);
    }
    StreamCapture(const StreamCapture&) = delete;
    StreamCapture& operator=(const StreamCapture&) = delete;

    std::string text() const {
        std::fflush(stream_);
        return readFile(name_);
    }

private:
    TemporaryDirectory directory_;
    std::FILE* stream_;
    std::string name_;
    int saved_ = -1;
};

}  // namespace quorvanti::test

// Redirects a standard stream into a file for the length of a scope and gives back what was written.
#pragma once

#include "tests/support/descriptor.h"
#include "tests/support/temporary_directory.h"

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
        saved_ = duplicateDescriptor(descriptorOf(stream_));
        const int file = openForAppending(name_);
        if (saved_ < 0 || file < 0 || !replaceDescriptor(file, descriptorOf(stream_))) {
            throw std::runtime_error("cannot redirect a standard stream");
        }
        closeDescriptor(file);
    }
    ~StreamCapture() {
        std::fflush(stream_);
        replaceDescriptor(saved_, descriptorOf(stream_));
        closeDescriptor(saved_);
        std::clearerr(stream_);
    }
    StreamCapture(const StreamCapture&) = delete;
    StreamCapture& operator=(const StreamCapture&) = delete;

    std::string text() const {
        std::fflush(stream_);
        return readText(name_);
    }

private:
    TemporaryDirectory directory_;
    std::FILE* stream_;
    std::string name_;
    int saved_ = -1;
};

}  // namespace quorvanti::test

// Sends the library's trace into a file of its own for the length of a scope and gives back what was written.
#pragma once

#include "tests/support/temporary_directory.h"

#include <string>
#include <vector>

namespace quorvanti::test {

class TraceCapture {
public:
    explicit TraceCapture(int level);
    ~TraceCapture();
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // Everything written so far, as it stands in the file.
    std::string text() const;
    // The lines without the file's header, time stamps, thread tags and empty lines; of an error or warning line also
    // the line number at its end is removed: "*** ERROR => text [ssoxxext]".
    std::vector<std::string> lines() const;
    bool contains(const std::string& part) const;

private:
    TemporaryDirectory directory_;
};

}  // namespace quorvanti::test

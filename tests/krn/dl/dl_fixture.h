// The loader with its trace.
#pragma once

#include "base/dptrc/err.h"
#include "krn/dl/dl.h"
#include "krn/dl/dl_platform.h"
#include "tests/krn/dl/dl_system.h"
#include "tests/support/trace_capture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quorvanti::test {

class DlFixture : public testing::Test {
protected:
    using Lines = std::vector<std::string>;

    // The traced lines, with "addr" cut off before the address.
    static Lines lines(const TraceCapture& trace) {
        Lines result = trace.lines();
        for (std::string& line : result) {
            const std::size_t address = line.find(", addr ");
            if (address != std::string::npos) {
                line.erase(address + sizeof ", addr" - 1);
            }
        }
        return result;
    }

    // Another file of the sample library.
    std::string copyOf(const char* library, const std::string& name) {
        const std::string copy = directory_.file(name);
        std::filesystem::copy_file(library, copy);
        return copy;
    }

    // With every percent sign twice.
    static std::string doubled(const std::string& text) {
        std::string result;
        for (const char character : text) {
            result.append(character == '%' ? 2 : 1, character);
        }
        return result;
    }

    // "dlopen", "LoadLibrary" and so on.
    const std::string load_ = dlSystemNames.load;
    const std::string find_ = dlSystemNames.find;
    const std::string free_ = dlSystemNames.free;

    // One of the texts of the thread's error record.
    static std::string recorded(int index) {
        const std::string packed = errPackedRecord();
        std::size_t begin = 0;
        for (; index > 0; --index) {
            begin = packed.find('\0', begin) + 1;
        }
        return packed.substr(begin, packed.find('\0', begin) - begin);
    }

    TemporaryDirectory directory_;
};

}  // namespace quorvanti::test

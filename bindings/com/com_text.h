// Texts between BSTRs and the multibyte texts of the plain functions.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace quorvanti::com {

// What the plain functions take a text for: tickets and what stands in them are UTF-8, names of files go to functions
// of the system that read the process's own code page.
enum class Encoding { utf8, system };

enum class Zeros { refused, kept };

inline constexpr std::size_t kAnyLength = SIZE_MAX;

// A BSTR argument, converted; wiped when it goes, as it may be a password. An empty one counts as absent.
// Throws Failure for a text that does not fit into `room` bytes with its terminator, that has no form in the encoding,
// or that would be cut because a zero stands in it.
class Text {
public:
    explicit Text(BSTR text, std::size_t room = kAnyLength, Encoding encoding = Encoding::utf8,
                  Zeros zeros = Zeros::refused);
    ~Text();
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    bool absent() const { return text_.empty(); }
    // Null when absent.
    const char* get() const { return absent() ? nullptr : text_.c_str(); }
    std::string_view view() const { return text_; }
    // As the length that goes with get() in a record.
    const std::uint32_t* length() const { return &length_; }

private:
    std::string text_;
    std::uint32_t length_ = 0;
};

struct BstrRelease {
    void operator()(BSTR text) const { SysFreeString(text); }
};
using OwnedBstr = std::unique_ptr<OLECHAR, BstrRelease>;

// Throw Failure for what is no text in the encoding, and std::bad_alloc.
OwnedBstr wide(std::string_view text, Encoding encoding = Encoding::utf8);

}  // namespace quorvanti::com

#include "bindings/com/com_text.h"

#include "bindings/com/com_values.h"
#include "bindings/com/failure.h"

#include <climits>
#include <new>

namespace quorvanti::com {
namespace {

[[noreturn]] void failConversion() {
    throw Failure(kConversionFailure, "Multibyte<->Wide char conversion impossible");
}

// A process may have made UTF-8 its own code page; then the rules of UTF-8 hold.
UINT codePageOf(Encoding encoding) {
    return encoding == Encoding::utf8 ? CP_UTF8 : GetACP();
}

// The bytes needed, or those written into `out`; 0 when a character has no form in the code page.
int convert(std::wstring_view text, UINT codePage, char* out, int room) {
    const auto length = static_cast<int>(text.size());
    if (codePage == CP_UTF8) {
        return WideCharToMultiByte(codePage, WC_ERR_INVALID_CHARS, text.data(), length, out, room, nullptr, nullptr);
    }
    BOOL replaced = FALSE;
    const int bytes =
        WideCharToMultiByte(codePage, WC_NO_BEST_FIT_CHARS, text.data(), length, out, room, nullptr, &replaced);
    return replaced ? 0 : bytes;
}

}  // namespace

Text::Text(BSTR argument, std::size_t room, Encoding encoding, Zeros zeros) {
    const std::wstring_view text(argument, SysStringLen(argument));
    if (text.empty()) {
        return;
    }
    if (text.size() > INT_MAX || (zeros == Zeros::refused && text.find(L'\0') != std::wstring_view::npos)) {
        failConversion();
    }
    const UINT codePage = codePageOf(encoding);
    const int length = convert(text, codePage, nullptr, 0);
    if (length <= 0 || static_cast<std::size_t>(length) >= room) {
        failConversion();
    }
    text_.resize(static_cast<std::size_t>(length));
    if (convert(text, codePage, text_.data(), length) != length) {
        failConversion();
    }
    length_ = static_cast<std::uint32_t>(length);
}

Text::~Text() {
    SecureZeroMemory(text_.data(), text_.size());
}

OwnedBstr wide(std::string_view text, Encoding encoding) {
    int length = 0;
    const UINT codePage = codePageOf(encoding);
    const auto size = static_cast<int>(text.size());
    if (!text.empty()) {
        length = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
        if (length <= 0) {
            failConversion();
        }
    }
    OwnedBstr result(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (result == nullptr) {
        throw std::bad_alloc();
    }
    if (length != 0 &&
        MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text.data(), size, result.get(), length) != length) {
        failConversion();
    }
    return result;
}

}  // namespace quorvanti::com

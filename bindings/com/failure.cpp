#include "bindings/com/failure.h"

#include "bindings/com/reference.h"

#include <oleauto.h>
#include <quorvanti_com.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace quorvanti::com {
namespace {

Reference<ICreateErrorInfo> newErrorInfo() {
    ICreateErrorInfo* created = nullptr;
    return Reference<ICreateErrorInfo>(SUCCEEDED(CreateErrorInfo(&created)) ? created : nullptr);
}

}  // namespace

HRESULT reported(HRESULT result, const char* description) noexcept {
    wchar_t text[256] = {};
    std::copy_n(description, std::min(std::strlen(description), std::size(text) - 1), text);
    wchar_t source[] = L"QUORVANTI.SSO2Ticket";
    const Reference<ICreateErrorInfo> information = newErrorInfo();
    if (information == nullptr) {
        SetErrorInfo(0, nullptr);  // rather none than that of an earlier failure
        return result;
    }
    information->SetGUID(IID_ITicketValidator);
    information->SetSource(source);
    information->SetDescription(text);
    if (const auto readable = queried<IErrorInfo>(information.get(), IID_IErrorInfo)) {
        SetErrorInfo(0, readable.get());
    }
    return result;
}

}  // namespace quorvanti::com

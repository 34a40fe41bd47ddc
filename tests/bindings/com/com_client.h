// A client of the COM class: texts, what a call came to, and the library without any registration.
#pragma once

#include "tests/bindings/com/ticket_slots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace quorvanti::test {

struct Release {
    void operator()(IUnknown* object) const { object->Release(); }
    void operator()(BSTR text) const { SysFreeString(text); }
};
template <typename Interface>
using Held = std::unique_ptr<Interface, Release>;

// A BSTR for the length of a call. Zeros inside stay; null is none at all.
class Bstr {
public:
    Bstr(std::nullptr_t) {}
    Bstr(std::wstring_view text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    Bstr(const wchar_t* text) : Bstr(std::wstring_view(text)) {}
    Bstr(const std::wstring& text) : Bstr(std::wstring_view(text)) {}
    // ASCII.
    Bstr(const std::string& text) : Bstr(std::wstring(text.begin(), text.end())) {}
    operator BSTR() const { return text_.get(); }

private:
    Held<OLECHAR> text_;
};

// The place for a text that a call hands out.
class BstrResult {
public:
    BstrResult() = default;
    ~BstrResult() { SysFreeString(text_); }
    BstrResult(const BstrResult&) = delete;
    BstrResult& operator=(const BstrResult&) = delete;

    BSTR* place() { return &text_; }
    bool null() const { return text_ == nullptr; }
    std::wstring text() const { return {text_ == nullptr ? L"" : text_, SysStringLen(text_)}; }

private:
    // Not null: a call has to clear it before it fails, and what is here does not belong to it.
    BSTR text_ = reinterpret_cast<BSTR>(std::intptr_t{-16});
};

class VariantResult {
public:
    VariantResult() { VariantInit(&value_); }
    explicit VariantResult(std::int32_t number) : VariantResult() {
        value_.vt = VT_I4;
        value_.lVal = number;
    }
    explicit VariantResult(const wchar_t* text) : VariantResult() {
        value_.vt = VT_BSTR;
        value_.bstrVal = SysAllocString(text);
    }
    ~VariantResult() { VariantClear(&value_); }
    VariantResult(const VariantResult&) = delete;
    VariantResult& operator=(const VariantResult&) = delete;

    VARIANT* place() { return &value_; }
    VARIANT value() const { return value_; }
    VARTYPE type() const { return value_.vt; }
    // The elements of an array of VARIANTs that hold texts.
    std::vector<std::wstring> texts() const {
        std::vector<std::wstring> texts;
        LONG first = -1;
        LONG last = -2;
        if (value_.vt != (VT_ARRAY | VT_VARIANT) || SafeArrayGetDim(value_.parray) != 1 ||
            FAILED(SafeArrayGetLBound(value_.parray, 1, &first)) || first != 0 ||
            FAILED(SafeArrayGetUBound(value_.parray, 1, &last))) {
            ADD_FAILURE() << "no array of VARIANTs from 0 on, but " << value_.vt;
            return texts;
        }
        for (LONG i = first; i <= last; ++i) {
            VariantResult element;
            EXPECT_EQ(SafeArrayGetElement(value_.parray, &i, element.place()), S_OK);
            EXPECT_EQ(element.type(), VT_BSTR);
            texts.emplace_back(element.value_.bstrVal, SysStringLen(element.value_.bstrVal));
        }
        return texts;
    }

private:
    VARIANT value_;
};

// What a call came to: its result and what it said about it.
struct Outcome {
    std::uint32_t result;
    std::wstring description;

    bool operator==(const Outcome&) const = default;
};
inline const Outcome kSuccess{0, L""};

inline void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << std::hex << outcome.result << " \"";
    for (const wchar_t character : outcome.description) {
        *stream << static_cast<char>(character);
    }
    *stream << "\"";
}

// Takes the thread's error information, and checks that a failure has one, from whom, and a success none.
inline Outcome outcomeOf(HRESULT result) {
    Outcome outcome{static_cast<std::uint32_t>(result), {}};
    IErrorInfo* taken = nullptr;
    const bool told = GetErrorInfo(0, &taken) == S_OK;
    const Held<IErrorInfo> information(taken);
    EXPECT_EQ(told, FAILED(result));
    if (told) {
        BstrResult description;
        BstrResult source;
        GUID interfaceId{};
        EXPECT_EQ(information->GetDescription(description.place()), S_OK);
        EXPECT_EQ(information->GetSource(source.place()), S_OK);
        EXPECT_EQ(information->GetGUID(&interfaceId), S_OK);
        EXPECT_EQ(source.text(), L"QUORVANTI.SSO2Ticket");
        EXPECT_TRUE(IsEqualGUID(interfaceId, kTicketValidator));
        outcome.description = description.text();
    }
    return outcome;
}

// The library, opened by its file for the rest of the process; its functions by name.
class ComLibrary {
public:
    ComLibrary() : module_(LoadLibraryA(QUORVANTI_DLL)) {
        if (module_ == nullptr) {
            ADD_FAILURE() << "cannot open " << QUORVANTI_DLL << ": " << GetLastError();
        }
    }
    ComLibrary(const ComLibrary&) = delete;
    ComLibrary& operator=(const ComLibrary&) = delete;

    template <typename Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }
    HRESULT canUnloadNow() const { return find<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")(); }
    HRESULT getClassObject(REFCLSID classId, REFIID id, void** object) const {
        return find<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>("DllGetClassObject")(classId, id, object);
    }
    Held<IClassFactory> factory() const {
        void* object = nullptr;
        EXPECT_EQ(getClassObject(kSso2Ticket, IID_IClassFactory, &object), S_OK);
        return Held<IClassFactory>(static_cast<IClassFactory*>(object));
    }
    Held<TicketSlots> create() const {
        void* object = nullptr;
        EXPECT_EQ(factory()->CreateInstance(nullptr, kTicketValidator, &object), S_OK);
        return Held<TicketSlots>(static_cast<TicketSlots*>(object));
    }

private:
    HMODULE module_;
};

// What QueryInterface answers, the reference given back.
inline HRESULT asked(IUnknown* object, REFIID id) {
    void* found = nullptr;
    const HRESULT result = object->QueryInterface(id, &found);
    EXPECT_EQ(SUCCEEDED(result), found != nullptr);
    if (found != nullptr) {
        static_cast<IUnknown*>(found)->Release();
    }
    return result;
}

}  // namespace quorvanti::test

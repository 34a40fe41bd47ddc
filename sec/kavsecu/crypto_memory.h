// Guards for what the crypto library hands out, and the test for a function that a caller cannot do without.
#pragma once

#include "base/dptrc/dptrace.h"
#include "sec/kavsecu/function_table.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

// Null when the crypto library lacks the function; then a line of level 1 names it, at the caller's unit.
template <typename Function>
Function* requireFunction(const SsfFunctionTable& table, const SsfEntry<Function>& entry, const char* kTraceUnit) {
    Function* function = table.find(entry);
    if (function == nullptr) {
        TRACE_ERROR("%s is NULL.\n", entry.name);
    }
    return function;
}

// True when everything that the guards below hold can be given back.
inline bool canReleaseCryptoMemory(const SsfFunctionTable& table, const char* unit) {
    const bool octets = requireFunction(table, ssf::SsfDELSsfOctetstring, unit) != nullptr;
    const bool lists = requireFunction(table, ssf::SsfDELSigRcpSsfInfoList, unit) != nullptr;
    return octets && lists;
}

// An octet string or text of the crypto library.
template <typename Byte>
class CryptoBuffer {
public:
    explicit CryptoBuffer(const SsfFunctionTable& table) : release_(table.find(ssf::SsfDELSsfOctetstring)) {}
    ~CryptoBuffer() {
        if (data_ != nullptr && release_ != nullptr) {
            release_(&data_, &length_);
        }
    }
    CryptoBuffer(const CryptoBuffer&) = delete;
    CryptoBuffer& operator=(const CryptoBuffer&) = delete;

    Byte** data() { return &data_; }
    std::int32_t* length() { return &length_; }
    std::span<const Byte> bytes() const {
        return data_ != nullptr && length_ > 0 ? std::span<const Byte>(data_, static_cast<std::size_t>(length_))
                                               : std::span<const Byte>();
    }
    std::string_view view() const { return {reinterpret_cast<const char*>(bytes().data()), bytes().size()}; }

private:
    decltype(::SsfDELSsfOctetstring)* release_;
    Byte* data_ = nullptr;
    std::int32_t length_ = 0;
};
using CryptoOctets = CryptoBuffer<std::uint8_t>;
using CryptoText = CryptoBuffer<char>;

class CryptoSignerList {
public:
    explicit CryptoSignerList(const SsfFunctionTable& table) : release_(table.find(ssf::SsfDELSigRcpSsfInfoList)) {}
    ~CryptoSignerList() {
        if (list_ != nullptr && release_ != nullptr) {
            release_(&list_);
        }
    }
    CryptoSignerList(const CryptoSignerList&) = delete;
    CryptoSignerList& operator=(const CryptoSignerList&) = delete;

    SsfSigRcpSsfInfoList** list() { return &list_; }

private:
    decltype(::SsfDELSigRcpSsfInfoList)* release_;
    SsfSigRcpSsfInfoList* list_ = nullptr;
};

}  // namespace quorvanti

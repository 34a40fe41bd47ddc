// What the source files of the crypto double share.
#pragma once

#include "tests/support/crypto_double/crypto_double.h"

#include <mutex>
#include <string>
#include <string_view>

namespace quorvanti::test {

DoubleControl& theControl();
std::recursive_mutex& theMutex();

// One call of an exported function, from its entry to its return: counts it and keeps its arguments.
class Call {
public:
    explicit Call(const char* name);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    Call& bytes(const char* parameter, const void* data, std::int32_t length);
    Call& text(const char* parameter, const char* value);
    Call& number(const char* parameter, std::int64_t value);
    std::int32_t result() const;

private:
    std::lock_guard<std::recursive_mutex> lock_;
    DoubleFunction* function_ = nullptr;  // null when there is no memory for it
};

// Terminated octets that are the double's until they are released.
char* handOut(const char* maker, std::string_view bytes);
// Clears an out-parameter pair; either half may be missing.
template <typename Byte>
void clear(Byte** data, std::int32_t* length) {
    if (data != nullptr) {
        *data = nullptr;
    }
    if (length != nullptr) {
        *length = 0;
    }
}
// Hands a text out into a pair; nothing when a half is missing.
template <typename Byte>
void handOut(const char* maker, std::string_view bytes, Byte** data, std::int32_t* length) {
    if (data != nullptr && length != nullptr) {
        *data = reinterpret_cast<Byte*>(handOut(maker, bytes));
        *length = static_cast<std::int32_t>(bytes.size());
    }
}
// Notes that an object was handed out, or came back; false when it was not out.
void noteOut(const char* maker, const void* object);
bool noteBack(const void* object);

}  // namespace quorvanti::test

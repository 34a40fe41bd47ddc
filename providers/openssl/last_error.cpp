#include "providers/openssl/last_error.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace quorvanti::provider {
namespace {

constexpr std::size_t maxSentence = 1023;

// Without a destructor on purpose: a thread-local one would keep the library in memory until its last thread ended.
struct Record {
    std::int32_t code;
    std::size_t length;
    std::array<char, maxSentence + 1> text;
};
thread_local Record record;

// The longest part that fits and does not end within a UTF-8 sequence.
std::size_t cutLength(std::string_view sentence) {
    if (sentence.size() <= maxSentence)
        return sentence.size();
    std::size_t length = maxSentence;
    while (length > 0 && (static_cast<unsigned char>(sentence[length]) & 0xC0U) == 0x80U)
        --length;
    return length;
}

}  // namespace

std::int32_t fail(std::int32_t code, std::string_view sentence) noexcept {
    record.code = code;
    record.length = cutLength(sentence);
    std::memmove(record.text.data(), sentence.data(), record.length);
    record.text[record.length] = '\0';
    return code;
}

LastError lastError() noexcept {
    return {record.code, {record.text.data(), record.length}};
}

void clearLastError() noexcept {
    record.code = 0;
    record.length = 0;
}

}  // namespace quorvanti::provider

// The way into every exported function: no exception leaves, and no error stays in the host's OpenSSL queue.
#pragma once

#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "providers/openssl/last_error.h"
#include "providers/openssl/openssl_context.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {

// For what does not come near OpenSSL, or guards its queue itself.
template <class Function>
std::int32_t boundaryWithoutQueue(Function&& function) noexcept {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    } catch (...) {
        return fail(SSF_API_INTERNAL_BUG, "The crypto library met an internal error.");
    }
}

template <class Function>
std::int32_t boundary(Function&& function) noexcept {
    return boundaryWithoutQueue([&] {
        const ErrorQueueGuard guard;
        return function();
    });
}

[[gnu::cold]] inline std::int32_t invalidArguments(std::string_view function) {
    constexpr std::string_view tail = ": a required argument is missing or a length is negative.";
    try {
        return fail(SSF_API_INVALID_FUNCARGS, std::string(function).append(tail));
    } catch (const std::bad_alloc&) {
        return fail(SSF_API_INVALID_FUNCARGS, tail.substr(2));
    }
}

// A range that was handed in: the pointer may be null only when the length is 0.
inline bool isRange(const void* data, std::int32_t length) {
    return length >= 0 && (data != nullptr || length == 0);
}

inline std::string_view textOf(const char* text, std::int32_t length) {
    return length > 0 ? std::string_view(text, static_cast<std::size_t>(length)) : std::string_view();
}

inline std::span<const std::uint8_t> bytesOf(const std::uint8_t* data, std::int32_t length) {
    return length > 0 ? std::span(data, static_cast<std::size_t>(length)) : std::span<const std::uint8_t>();
}

}  // namespace quorvanti::provider

// How an operation of the COM face fails.
#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <utility>

namespace quorvanti::com {

// Does not leave the face. The description is ASCII.
struct Failure {
    Failure(std::uint32_t code, std::string text) : result(static_cast<HRESULT>(code)), description(std::move(text)) {}

    HRESULT result;
    std::string description;
};

// Makes the thread's error information and returns the code.
HRESULT reported(HRESULT result, const char* description) noexcept;

// Runs the body of an operation: nothing but an HRESULT leaves it.
template <typename Body>
HRESULT operation(Body&& body) noexcept {
    try {
        body();
        return S_OK;
    } catch (const Failure& failure) {
        return reported(failure.result, failure.description.c_str());
    } catch (const std::exception&) {  // nothing else throws in here
        return reported(E_OUTOFMEMORY, "Out of memory");
    }
}

// The place for a result, cleared. Throws Failure for none.
template <typename Result>
Result& place(Result* result) {
    if (result == nullptr) {
        throw Failure(static_cast<std::uint32_t>(E_POINTER), "No place for the result");
    }
    *result = Result{};
    return *result;
}

}  // namespace quorvanti::com

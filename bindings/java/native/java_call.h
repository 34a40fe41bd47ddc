// One call from Java: its arguments, its results, and at most one exception.
#pragma once

#include <quorvanti/voraksso.h>

#include "bindings/method_trace.h"

#include <jni.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvanti {

class JavaCall {
public:
    explicit JavaCall(JNIEnv* env) : env_(env) {}
    JavaCall(const JavaCall&) = delete;
    JavaCall& operator=(const JavaCall&) = delete;

    JNIEnv* env() const { return env_; }
    // An exception is on its way. Then nothing may be asked of the virtual machine but releases.
    bool pending() const { return env_->ExceptionCheck() == JNI_TRUE; }

    // Throws java.lang.Exception with a message that is cut to `room` bytes, its terminator included. What was thrown
    // first stays: a second exception is dropped.
    [[gnu::format(printf, 3, 4)]] void raise(std::size_t room, const char* format, ...);
    // The usual form: what a plain function answered, in its two halves.
    void raiseFailure(const char* function, std::int32_t code);

    // The bare throw: ASCII or modified UTF-8, no exception pending.
    void throwException(const char* message);

    // Null while an exception is pending, also one of their own for want of memory.
    jstring string(std::string_view utf8);
    jbyteArray bytes(std::span<const std::uint8_t> contents);

private:
    JNIEnv* env_;
};

inline constexpr std::size_t kMessageRoom = 128;

// A Java string as the virtual machine's modified UTF-8; null for null, and when memory ran out, with an exception
// pending.
class TextArgument {
public:
    TextArgument(JavaCall& call, jstring text);
    ~TextArgument();
    TextArgument(const TextArgument&) = delete;
    TextArgument& operator=(const TextArgument&) = delete;

    const char* get() const { return characters_; }
    std::size_t length() const;
    // As the length that goes with get() in a record.
    const std::uint32_t* length32();

private:
    JNIEnv* env_;
    jstring text_;
    const char* characters_ = nullptr;
    std::uint32_t length_ = 0;
};

// A copy of a Java byte array, wiped when it goes: it may be a key.
class BytesArgument {
public:
    BytesArgument(JavaCall& call, jbyteArray array);
    ~BytesArgument();
    BytesArgument(const BytesArgument&) = delete;
    BytesArgument& operator=(const BytesArgument&) = delete;

    const std::uint8_t* data() const { return bytes_.data(); }
    jsize size() const { return static_cast<jsize>(bytes_.size()); }

private:
    std::vector<std::uint8_t> bytes_;
};

// An Object[] that is filled from the front and keeps no reference to its elements.
class ObjectArray {
public:
    ObjectArray(JavaCall& call, jsize length);
    // Takes the reference over; null is an element that could not be made.
    void add(jobject element);
    // The array, or null with an exception pending.
    jobjectArray result();

private:
    JNIEnv* env_;
    jobjectArray array_ = nullptr;
    jsize next_ = 0;
};

// Runs a method's body; no exception of this side reaches the virtual machine.
template <typename Body>
auto javaMethod(JNIEnv* env, Body&& body) noexcept -> decltype(body(std::declval<JavaCall&>())) {
    JavaCall call(env);
    try {
        return body(call);
    } catch (const std::exception&) {
        if (!call.pending()) {
            call.throwException("Out of memory.");  // nothing else throws in here
        }
        return {};
    }
}

}  // namespace quorvanti

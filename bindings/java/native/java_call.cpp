#include "bindings/java/native/java_call.h"

#include "bindings/java/native/java_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace quorvanti {
namespace {

constexpr std::size_t kLargestMessage = 660;

// A plain loop over a buffer that is given up would be optimized away.
void wipe(std::vector<std::uint8_t>& bytes) {
    volatile std::uint8_t* byte = bytes.data();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        byte[i] = 0;
    }
}

}  // namespace

void JavaCall::raise(std::size_t room, const char* format, ...) {
    if (pending()) {
        return;
    }
    char message[kLargestMessage];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, std::min(room, sizeof message), format, arguments);
    va_end(arguments);
    const std::string_view text = message;
    if (std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<std::uint8_t>(byte) < 0x80; })) {
        throwException(message);  // needs no memory, which may be what went wrong
    } else {
        throwException(modifiedUtf8(text).c_str());  // the cut may have gone through a character
    }
}

void JavaCall::throwException(const char* message) {
    if (const jclass exception = env_->FindClass("java/lang/Exception")) {
        env_->ThrowNew(exception, message);
        env_->DeleteLocalRef(exception);
    }
}

void JavaCall::raiseFailure(const char* function, std::int32_t code) {
    raise(kMessageRoom, "%s failed: standard error= %d, ssf error= %d", function, VORAK_STANDARD_ERROR(code),
          VORAK_SSF_ERROR(code));
}

jstring JavaCall::string(std::string_view utf8) {
    if (pending()) {
        return nullptr;
    }
    const JavaCharacters characters = javaCharacters(utf8);
    static constexpr jchar nothing = 0;
    return env_->NewString(characters.empty() ? &nothing : characters.data(), static_cast<jsize>(characters.size()));
}

jbyteArray JavaCall::bytes(std::span<const std::uint8_t> contents) {
    if (pending()) {
        return nullptr;
    }
    const auto length = static_cast<jsize>(contents.size());
    const jbyteArray array = env_->NewByteArray(length);
    if (array != nullptr && length != 0) {
        env_->SetByteArrayRegion(array, 0, length, reinterpret_cast<const jbyte*>(contents.data()));
    }
    return array;
}

TextArgument::TextArgument(JavaCall& call, jstring text) : env_(call.env()), text_(text) {
    if (text != nullptr && !call.pending()) {
        characters_ = env_->GetStringUTFChars(text, nullptr);
    }
}

TextArgument::~TextArgument() {
    if (characters_ != nullptr) {
        env_->ReleaseStringUTFChars(text_, characters_);
    }
}

std::size_t TextArgument::length() const {
    return characters_ == nullptr ? 0 : std::strlen(characters_);
}

const std::uint32_t* TextArgument::length32() {
    length_ = static_cast<std::uint32_t>(length());
    return characters_ == nullptr ? nullptr : &length_;
}

BytesArgument::BytesArgument(JavaCall& call, jbyteArray array) {
    if (array == nullptr || call.pending()) {
        return;
    }
    const jsize length = call.env()->GetArrayLength(array);
    bytes_.resize(static_cast<std::size_t>(length));
    if (length != 0) {
        call.env()->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(bytes_.data()));
    }
}

BytesArgument::~BytesArgument() {
    wipe(bytes_);
}

ObjectArray::ObjectArray(JavaCall& call, jsize length) : env_(call.env()) {
    if (const jclass object = env_->FindClass("java/lang/Object")) {
        array_ = env_->NewObjectArray(length, object, nullptr);
        env_->DeleteLocalRef(object);
    }
}

void ObjectArray::add(jobject element) {
    if (element == nullptr) {
        if (array_ != nullptr) {
            env_->DeleteLocalRef(array_);
            array_ = nullptr;
        }
        return;
    }
    if (array_ != nullptr) {
        env_->SetObjectArrayElement(array_, next_++, element);
    }
    env_->DeleteLocalRef(element);
}

jobjectArray ObjectArray::result() {
    return array_;
}

}  // namespace quorvanti

#include "tests/bindings/java/fake_jni.h"

#include <algorithm>

namespace quorvanti::test {
namespace {

FakeObject* objectOf(jobject reference) {
    return reinterpret_cast<FakeObject*>(reference);
}

template <typename Reference>
Reference referenceTo(FakeObject* object) {
    return reinterpret_cast<Reference>(object);
}

}  // namespace

std::string modifiedUtf8Of(std::u16string_view characters) {
    std::string text;
    const auto put = [&](unsigned value) { text += static_cast<char>(static_cast<unsigned char>(value)); };
    for (const char16_t character : characters) {
        const unsigned value = character;
        if (value >= 1 && value <= 0x7F) {
            put(value);
        } else if (value <= 0x7FF) {
            put(0xC0 + value / 64);
            put(0x80 + value % 64);
        } else {
            put(0xE0 + value / 4096);
            put(0x80 + value / 64 % 64);
            put(0x80 + value % 64);
        }
    }
    return text;
}

FakeJni::FakeJni() {
    functions_.FindClass = &findClass;
    functions_.ThrowNew = &throwNew;
    functions_.ExceptionCheck = &exceptionCheck;
    functions_.DeleteLocalRef = &deleteLocalRef;
    functions_.GetStringUTFChars = &getStringUtfChars;
    functions_.ReleaseStringUTFChars = &releaseStringUtfChars;
    functions_.NewString = &newString;
    functions_.GetArrayLength = &getArrayLength;
    functions_.NewByteArray = &newByteArray;
    functions_.GetByteArrayRegion = &getByteArrayRegion;
    functions_.SetByteArrayRegion = &setByteArrayRegion;
    functions_.NewObjectArray = &newObjectArray;
    functions_.SetObjectArrayElement = &setObjectArrayElement;
    handle_.env.functions = &functions_;
    handle_.self = this;
}

jstring FakeJni::string(std::u16string_view characters) {
    return referenceTo<jstring>(
        make({FakeObject::Kind::characters, std::u16string(characters), {}, {}, {}}, /*counted=*/false));
}

jbyteArray FakeJni::bytes(std::string_view contents) {
    return referenceTo<jbyteArray>(
        make({FakeObject::Kind::bytes, {}, std::vector<jbyte>(contents.begin(), contents.end()), {}, {}},
             /*counted=*/false));
}

std::u16string FakeJni::text(jobject string) {
    return string == nullptr ? u"(null)" : objectOf(string)->characters;
}

std::string FakeJni::ascii(jobject string) {
    return modifiedUtf8Of(text(string));
}

std::string FakeJni::contents(jobject bytes) {
    const std::vector<jbyte>& held = objectOf(bytes)->bytes;
    return {held.begin(), held.end()};
}

std::vector<jobject> FakeJni::elements(jobjectArray array) {
    std::vector<jobject> references;
    for (FakeObject* element : objectOf(array)->objects) {
        references.push_back(referenceTo<jobject>(element));
    }
    return references;
}

void FakeJni::release(jobject result) {
    if (result != nullptr) {
        deleteLocalRef(env(), result);
    }
}

std::optional<std::string> FakeJni::takeException() {
    std::optional<std::string> taken = std::move(exception_);
    exception_.reset();
    return taken;
}

int FakeJni::outstandingReferences() const {
    int count = 0;
    for (const auto& [object, references] : references_) {
        count += references;
    }
    return count;
}

std::string FakeJni::complaints() const {
    std::string text;
    for (const std::string& call : forbidden_) {
        text += call + "\n";
    }
    if (outstandingReferences() != 0) {
        text += std::to_string(outstandingReferences()) + " local references are left\n";
    }
    if (!strings_.empty()) {
        text += std::to_string(strings_.size()) + " strings were not released\n";
    }
    return text;
}

void FakeJni::collect() {
    if (outstandingReferences() == 0) {
        objects_.clear();
        arguments_.clear();
    }
}

void FakeJni::enter(const char* function, bool allowedWhilePending) {
    if (entering) {
        entering(function);
    }
    if (exception_ && !allowedWhilePending) {
        forbidden_.push_back(std::string(function) + " while an exception is pending: " + *exception_);
    }
}

bool FakeJni::outOfMemory() {
    if (failAfter_ < 0 || failAfter_-- > 0) {
        return false;
    }
    exception_ = "java/lang/OutOfMemoryError: fake";
    return true;
}

FakeObject* FakeJni::make(FakeObject object, bool counted) {
    auto& owner = counted ? objects_ : arguments_;
    owner.push_back(std::make_unique<FakeObject>(std::move(object)));
    FakeObject* made = owner.back().get();
    if (counted) {
        ++references_[made];
        mostReferences_ = std::max(mostReferences_, outstandingReferences());
    }
    return made;
}

jclass FakeJni::findClass(JNIEnv* env, const char* name) {
    FakeJni& self = of(env);
    self.enter("FindClass");
    if (self.outOfMemory()) {
        return nullptr;
    }
    return referenceTo<jclass>(self.make({FakeObject::Kind::type, {}, {}, {}, name}, true));
}

jint FakeJni::throwNew(JNIEnv* env, jclass type, const char* message) {
    FakeJni& self = of(env);
    self.enter("ThrowNew");
    self.exception_ = objectOf(type)->typeName + ": " + message;
    return 0;
}

jboolean FakeJni::exceptionCheck(JNIEnv* env) {
    return of(env).exception_ ? JNI_TRUE : JNI_FALSE;
}

void FakeJni::deleteLocalRef(JNIEnv* env, jobject reference) {
    FakeJni& self = of(env);
    const auto found = self.references_.find(objectOf(reference));
    if (found == self.references_.end()) {
        self.forbidden_.emplace_back("DeleteLocalRef of what is no local reference");
        return;
    }
    if (--found->second == 0) {
        self.references_.erase(found);
    }
}

const char* FakeJni::getStringUtfChars(JNIEnv* env, jstring text, jboolean* isCopy) {
    FakeJni& self = of(env);
    self.enter("GetStringUTFChars");
    if (self.outOfMemory()) {
        return nullptr;
    }
    if (isCopy != nullptr) {
        *isCopy = JNI_TRUE;
    }
    auto characters = std::make_unique<std::string>(modifiedUtf8Of(objectOf(text)->characters));
    const char* handed = characters->c_str();
    self.strings_[handed] = std::move(characters);
    if (self.stringHandedOut) {
        self.stringHandedOut();
    }
    return handed;
}

void FakeJni::releaseStringUtfChars(JNIEnv* env, jstring, const char* characters) {
    FakeJni& self = of(env);
    self.enter("ReleaseStringUTFChars", true);
    if (self.strings_.erase(characters) != 1) {
        self.forbidden_.emplace_back("ReleaseStringUTFChars of what was not handed out");
    }
}

jstring FakeJni::newString(JNIEnv* env, const jchar* characters, jsize length) {
    FakeJni& self = of(env);
    self.enter("NewString");
    if (self.outOfMemory()) {
        return nullptr;
    }
    return referenceTo<jstring>(
        self.make({FakeObject::Kind::characters, std::u16string(characters, characters + length), {}, {}, {}}, true));
}

jsize FakeJni::getArrayLength(JNIEnv* env, jarray array) {
    of(env).enter("GetArrayLength");
    return static_cast<jsize>(objectOf(array)->bytes.size());
}

jbyteArray FakeJni::newByteArray(JNIEnv* env, jsize length) {
    FakeJni& self = of(env);
    self.enter("NewByteArray");
    if (self.outOfMemory()) {
        return nullptr;
    }
    return referenceTo<jbyteArray>(
        self.make({FakeObject::Kind::bytes, {}, std::vector<jbyte>(static_cast<std::size_t>(length)), {}, {}}, true));
}

void FakeJni::getByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length, jbyte* target) {
    of(env).enter("GetByteArrayRegion");
    std::copy_n(objectOf(array)->bytes.begin() + start, length, target);
}

void FakeJni::setByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length, const jbyte* source) {
    of(env).enter("SetByteArrayRegion");
    std::copy_n(source, length, objectOf(array)->bytes.begin() + start);
}

jobjectArray FakeJni::newObjectArray(JNIEnv* env, jsize length, jclass type, jobject) {
    FakeJni& self = of(env);
    self.enter("NewObjectArray");
    if (objectOf(type)->typeName != "java/lang/Object") {
        self.forbidden_.push_back("NewObjectArray of " + objectOf(type)->typeName);
    }
    if (self.outOfMemory()) {
        return nullptr;
    }
    return referenceTo<jobjectArray>(self.make(
        {FakeObject::Kind::objects, {}, {}, std::vector<FakeObject*>(static_cast<std::size_t>(length)), {}}, true));
}

void FakeJni::setObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject element) {
    of(env).enter("SetObjectArrayElement");
    objectOf(array)->objects.at(static_cast<std::size_t>(index)) = objectOf(element);
}

}  // namespace quorvanti::test

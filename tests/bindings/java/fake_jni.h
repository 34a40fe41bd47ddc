// A virtual machine's native interface for tests, as strict as the real one is on paper: it notes every call that is
// made while an exception is pending and must not be, and counts local references and strings that were not given back.
#pragma once

#include <jni.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvanti::test {

struct FakeObject {
    enum class Kind { characters, bytes, objects, type };
    Kind kind;
    std::u16string characters;
    std::vector<jbyte> bytes;
    std::vector<FakeObject*> objects;
    std::string typeName;
};

class FakeJni {
public:
    FakeJni();
    FakeJni(const FakeJni&) = delete;
    FakeJni& operator=(const FakeJni&) = delete;

    JNIEnv* env() { return &handle_.env; }
    jclass receiver() { return nullptr; }  // is ignored

    // Arguments; they live as long as this and are not counted.
    jstring string(std::u16string_view characters);
    jbyteArray bytes(std::string_view contents);

    // What a method returned. `text` takes a null reference for "(null)".
    static std::u16string text(jobject string);
    static std::string ascii(jobject string);
    static std::string contents(jobject bytes);
    static std::vector<jobject> elements(jobjectArray array);
    // The caller's own reference to a result is given back.
    void release(jobject result);

    // "java/lang/Exception: message" and clears it; nothing when none is pending.
    std::optional<std::string> takeException();

    // The call after so many that need memory fails with an OutOfMemoryError; -1: never.
    void failAfter(int calls) { failAfter_ = calls; }

    // Called with the function's name when one begins, and when a string has been handed out.
    std::function<void(std::string_view function)> entering;
    std::function<void()> stringHandedOut;

    // Forbidden calls, references and strings still out: empty when all is as it must be.
    std::string complaints() const;
    int mostReferences() const { return mostReferences_; }
    int outstandingReferences() const;
    // When no reference is left: forgets every object, the arguments too.
    void collect();

private:
    struct Handle {
        JNIEnv env;
        FakeJni* self;
    };
    static FakeJni& of(JNIEnv* env) { return *reinterpret_cast<Handle*>(env)->self; }

    void enter(const char* function, bool allowedWhilePending = false);
    bool outOfMemory();
    FakeObject* make(FakeObject object, bool counted);

    static jclass JNICALL findClass(JNIEnv* env, const char* name);
    static jint JNICALL throwNew(JNIEnv* env, jclass type, const char* message);
    static jboolean JNICALL exceptionCheck(JNIEnv* env);
    static void JNICALL deleteLocalRef(JNIEnv* env, jobject reference);
    static const char* JNICALL getStringUtfChars(JNIEnv* env, jstring text, jboolean* isCopy);
    static void JNICALL releaseStringUtfChars(JNIEnv* env, jstring text, const char* characters);
    static jstring JNICALL newString(JNIEnv* env, const jchar* characters, jsize length);
    static jsize JNICALL getArrayLength(JNIEnv* env, jarray array);
    static jbyteArray JNICALL newByteArray(JNIEnv* env, jsize length);
    static void JNICALL getByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length, jbyte* target);
    static void JNICALL setByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length,
                                           const jbyte* source);
    static jobjectArray JNICALL newObjectArray(JNIEnv* env, jsize length, jclass type, jobject initial);
    static void JNICALL setObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject element);

    JNINativeInterface_ functions_{};
    Handle handle_{};
    std::vector<std::unique_ptr<FakeObject>> arguments_;
    std::vector<std::unique_ptr<FakeObject>> objects_;
    std::map<const FakeObject*, int> references_;
    std::map<const char*, std::unique_ptr<std::string>> strings_;
    std::optional<std::string> exception_;
    std::vector<std::string> forbidden_;
    int failAfter_ = -1;
    int mostReferences_ = 0;
};

// What the virtual machine hands out for a string, and the way back.
std::string modifiedUtf8Of(std::u16string_view characters);

}  // namespace quorvanti::test

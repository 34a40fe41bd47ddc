// Many calls of the native methods in one native frame.
#include "bindings/java/native/sso2ticket.h"

extern "C" JNIEXPORT jint JNICALL Java_FrameTest_callManyTimes(JNIEnv* env, jclass receiver, jint calls,
                                                               jstring accepted, jstring refused, jstring profile) {
    // What is left behind exceeds this within a few calls; -Xcheck:jni tells.
    if (env->EnsureLocalCapacity(16) != 0) {
        return -1;
    }
    jint count = 0;
    for (jint call = 0; call < calls; ++call) {
        const bool good = call % 100 == 0;
        const jobjectArray fields =
            Java_com_vorak_sso_SSO2Ticket_evalLogonTicket(env, receiver, good ? accepted : refused, profile, nullptr);
        if (fields != nullptr) {
            ++count;
            env->DeleteLocalRef(fields);
        }
        if (env->ExceptionCheck() == JNI_TRUE) {
            env->ExceptionClear();
        }
        const jstring version = Java_SSO2Ticket_getVersion(env, receiver);
        env->DeleteLocalRef(version);
    }
    return count;
}

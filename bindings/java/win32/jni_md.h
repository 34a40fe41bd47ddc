/* What jni.h asks of the platform, for Windows x64: JDK packages for Linux bring their own only. */
#ifndef QUORVANTI_JNI_MD_H
#define QUORVANTI_JNI_MD_H

#define JNIEXPORT __declspec(dllexport)
#define JNIIMPORT __declspec(dllimport)
#define JNICALL __stdcall

typedef long jint;
typedef long long jlong;
typedef signed char jbyte;

#endif

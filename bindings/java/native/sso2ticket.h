// The native methods of the Java class SSO2Ticket, for the class in com.vorak.sso and for the one without a package.
// The latter do nothing but call the former. The receiver is ignored. docs/java.md and the Java class describe them.
#pragma once

#include <jni.h>

extern "C" {

JNIEXPORT jboolean JNICALL Java_com_vorak_sso_SSO2Ticket_init(JNIEnv* env, jclass receiver, jstring library);
JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_getVersion(JNIEnv* env, jclass receiver);
JNIEXPORT jobjectArray JNICALL Java_com_vorak_sso_SSO2Ticket_evalLogonTicket(JNIEnv* env, jclass receiver,
                                                                             jstring ticket, jstring addressBook,
                                                                             jstring password);
JNIEXPORT jobjectArray JNICALL Java_com_vorak_sso_SSO2Ticket_evalAssertionTicket(JNIEnv* env, jclass receiver,
                                                                                 jstring ticket, jstring addressBook,
                                                                                 jstring password, jstring systemId,
                                                                                 jstring client);
JNIEXPORT jobjectArray JNICALL Java_com_vorak_sso_SSO2Ticket_evalJWToken(JNIEnv* env, jclass receiver, jstring token,
                                                                         jstring nameIdClaim);
JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_getProperty(JNIEnv* env, jclass receiver, jstring name);
JNIEXPORT jboolean JNICALL Java_com_vorak_sso_SSO2Ticket_setProperty(JNIEnv* env, jclass receiver, jstring name,
                                                                     jstring value);
JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_createAssertionTicket(
    JNIEnv* env, jclass receiver, jstring ownSystemId, jstring ownClient, jstring addressBook, jstring password,
    jstring recipientSystemId, jstring recipientClient, jstring user, jstring language, jstring portalUser,
    jstring authScheme);
JNIEXPORT jboolean JNICALL Java_com_vorak_sso_SSO2Ticket_loadKey(JNIEnv* env, jclass receiver, jbyteArray key,
                                                                 jstring password, jint reserved, jint keyType);
JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_parseCertificate(JNIEnv* env, jclass receiver,
                                                                         jbyteArray certificate, jint infoId);

JNIEXPORT jboolean JNICALL Java_SSO2Ticket_init(JNIEnv* env, jclass receiver, jstring library);
JNIEXPORT jstring JNICALL Java_SSO2Ticket_getVersion(JNIEnv* env, jclass receiver);
JNIEXPORT jobjectArray JNICALL Java_SSO2Ticket_evalLogonTicket(JNIEnv* env, jclass receiver, jstring ticket,
                                                               jstring addressBook, jstring password);
JNIEXPORT jobjectArray JNICALL Java_SSO2Ticket_evalAssertionTicket(JNIEnv* env, jclass receiver, jstring ticket,
                                                                   jstring addressBook, jstring password,
                                                                   jstring systemId, jstring client);
JNIEXPORT jobjectArray JNICALL Java_SSO2Ticket_evalJWToken(JNIEnv* env, jclass receiver, jstring token,
                                                           jstring nameIdClaim);
JNIEXPORT jstring JNICALL Java_SSO2Ticket_getProperty(JNIEnv* env, jclass receiver, jstring name);
JNIEXPORT jboolean JNICALL Java_SSO2Ticket_setProperty(JNIEnv* env, jclass receiver, jstring name, jstring value);
JNIEXPORT jstring JNICALL Java_SSO2Ticket_createAssertionTicket(JNIEnv* env, jclass receiver, jstring ownSystemId,
                                                                jstring ownClient, jstring addressBook,
                                                                jstring password, jstring recipientSystemId,
                                                                jstring recipientClient, jstring user, jstring language,
                                                                jstring portalUser, jstring authScheme);
JNIEXPORT jboolean JNICALL Java_SSO2Ticket_loadKey(JNIEnv* env, jclass receiver, jbyteArray key, jstring password,
                                                   jint reserved, jint keyType);
JNIEXPORT jstring JNICALL Java_SSO2Ticket_parseCertificate(JNIEnv* env, jclass receiver, jbyteArray certificate,
                                                           jint infoId);
}

// The class without a package: every method is its packaged twin.
#include "bindings/java/native/sso2ticket.h"

JNIEXPORT jboolean JNICALL Java_SSO2Ticket_init(JNIEnv* env, jclass receiver, jstring library) {
    return Java_com_vorak_sso_SSO2Ticket_init(env, receiver, library);
}

JNIEXPORT jstring JNICALL Java_SSO2Ticket_getVersion(JNIEnv* env, jclass receiver) {
    return Java_com_vorak_sso_SSO2Ticket_getVersion(env, receiver);
}

JNIEXPORT jobjectArray JNICALL Java_SSO2Ticket_evalLogonTicket(JNIEnv* env, jclass receiver, jstring ticket,
                                                               jstring addressBook, jstring password) {
    return Java_com_vorak_sso_SSO2Ticket_evalLogonTicket(env, receiver, ticket, addressBook, password);
}

JNIEXPORT jobjectArray JNICALL Java_SSO2Ticket_evalAssertionTicket(JNIEnv* env, jclass receiver, jstring ticket,
                                                                   jstring addressBook, jstring password,
                                                                   jstring systemId, jstring client) {
    return Java_com_vorak_sso_SSO2Ticket_evalAssertionTicket(env, receiver, ticket, addressBook, password, systemId,
                                                             client);
}

JNIEXPORT jobjectArray JNICALL Java_SSO2Ticket_evalJWToken(JNIEnv* env, jclass receiver, jstring token,
                                                           jstring nameIdClaim) {
    return Java_com_vorak_sso_SSO2Ticket_evalJWToken(env, receiver, token, nameIdClaim);
}

JNIEXPORT jstring JNICALL Java_SSO2Ticket_getProperty(JNIEnv* env, jclass receiver, jstring name) {
    return Java_com_vorak_sso_SSO2Ticket_getProperty(env, receiver, name);
}

JNIEXPORT jboolean JNICALL Java_SSO2Ticket_setProperty(JNIEnv* env, jclass receiver, jstring name, jstring value) {
    return Java_com_vorak_sso_SSO2Ticket_setProperty(env, receiver, name, value);
}

JNIEXPORT jstring JNICALL Java_SSO2Ticket_createAssertionTicket(JNIEnv* env, jclass receiver, jstring ownSystemId,
                                                                jstring ownClient, jstring addressBook,
                                                                jstring password, jstring recipientSystemId,
                                                                jstring recipientClient, jstring user, jstring language,
                                                                jstring portalUser, jstring authScheme) {
    return Java_com_vorak_sso_SSO2Ticket_createAssertionTicket(env, receiver, ownSystemId, ownClient, addressBook,
                                                               password, recipientSystemId, recipientClient, user,
                                                               language, portalUser, authScheme);
}

JNIEXPORT jboolean JNICALL Java_SSO2Ticket_loadKey(JNIEnv* env, jclass receiver, jbyteArray key, jstring password,
                                                   jint reserved, jint keyType) {
    return Java_com_vorak_sso_SSO2Ticket_loadKey(env, receiver, key, password, reserved, keyType);
}

JNIEXPORT jstring JNICALL Java_SSO2Ticket_parseCertificate(JNIEnv* env, jclass receiver, jbyteArray certificate,
                                                           jint infoId) {
    return Java_com_vorak_sso_SSO2Ticket_parseCertificate(env, receiver, certificate, infoId);
}

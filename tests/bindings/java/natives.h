// The ten native methods, once for each class that has them.
#pragma once

#include "bindings/java/native/sso2ticket.h"

#include <ostream>

namespace quorvanti::test {

struct Natives {
    const char* name;
    decltype(&Java_com_vorak_sso_SSO2Ticket_init) init;
    decltype(&Java_com_vorak_sso_SSO2Ticket_getVersion) getVersion;
    decltype(&Java_com_vorak_sso_SSO2Ticket_evalLogonTicket) evalLogonTicket;
    decltype(&Java_com_vorak_sso_SSO2Ticket_evalAssertionTicket) evalAssertionTicket;
    decltype(&Java_com_vorak_sso_SSO2Ticket_evalJWToken) evalJWToken;
    decltype(&Java_com_vorak_sso_SSO2Ticket_getProperty) getProperty;
    decltype(&Java_com_vorak_sso_SSO2Ticket_setProperty) setProperty;
    decltype(&Java_com_vorak_sso_SSO2Ticket_createAssertionTicket) createAssertionTicket;
    decltype(&Java_com_vorak_sso_SSO2Ticket_loadKey) loadKey;
    decltype(&Java_com_vorak_sso_SSO2Ticket_parseCertificate) parseCertificate;
};

// For the names of tests.
inline void PrintTo(const Natives& natives, std::ostream* stream) {
    *stream << natives.name;
}

inline constexpr Natives kPackagedNatives{
    "Packaged",
    &Java_com_vorak_sso_SSO2Ticket_init,
    &Java_com_vorak_sso_SSO2Ticket_getVersion,
    &Java_com_vorak_sso_SSO2Ticket_evalLogonTicket,
    &Java_com_vorak_sso_SSO2Ticket_evalAssertionTicket,
    &Java_com_vorak_sso_SSO2Ticket_evalJWToken,
    &Java_com_vorak_sso_SSO2Ticket_getProperty,
    &Java_com_vorak_sso_SSO2Ticket_setProperty,
    &Java_com_vorak_sso_SSO2Ticket_createAssertionTicket,
    &Java_com_vorak_sso_SSO2Ticket_loadKey,
    &Java_com_vorak_sso_SSO2Ticket_parseCertificate,
};
inline constexpr Natives kShortNatives{
    "WithoutPackage",
    &Java_SSO2Ticket_init,
    &Java_SSO2Ticket_getVersion,
    &Java_SSO2Ticket_evalLogonTicket,
    &Java_SSO2Ticket_evalAssertionTicket,
    &Java_SSO2Ticket_evalJWToken,
    &Java_SSO2Ticket_getProperty,
    &Java_SSO2Ticket_setProperty,
    &Java_SSO2Ticket_createAssertionTicket,
    &Java_SSO2Ticket_loadKey,
    &Java_SSO2Ticket_parseCertificate,
};

}  // namespace quorvanti::test

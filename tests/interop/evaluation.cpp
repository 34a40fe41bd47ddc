#include "tests/interop/evaluation.h"

namespace quorvanti::test {

namespace {

struct Text {
    std::array<char, 300> characters{};
    std::uint32_t length = 300;

    std::string text() const { return {characters.data(), length}; }
};

template <typename Call>
Evaluation evaluateInto(Call call) {
    Text user, client, systemId, language, portalUser, authScheme;
    Bytes certificate(8192);
    auto certificateLength = static_cast<std::uint32_t>(certificate.size());
    Evaluation result;
    TICKET_INFO info{};
    info.struct_size = sizeof info;
    info.user = user.characters.data();
    info.user_capacity = &user.length;
    info.client = client.characters.data();
    info.client_capacity = &client.length;
    info.system_id = systemId.characters.data();
    info.system_id_capacity = &systemId.length;
    info.language = language.characters.data();
    info.language_capacity = &language.length;
    info.portal_user = portalUser.characters.data();
    info.portal_user_capacity = &portalUser.length;
    info.auth_scheme = authScheme.characters.data();
    info.auth_scheme_capacity = &authScheme.length;
    info.certificate = certificate.data();
    info.certificate_capacity = &certificateLength;
    info.creation_time = &result.creationTime;
    info.validity = &result.validity;
    result.code = call(info);
    certificate.resize(certificateLength);
    result.user = user.text();
    result.client = client.text();
    result.systemId = systemId.text();
    result.language = language.text();
    result.portalUser = portalUser.text();
    result.authScheme = authScheme.text();
    result.certificate = certificate;
    result.marker = info.assertion_marker;
    return result;
}

}  // namespace

Evaluation evaluateLogon(const std::string& ticket, const std::string& profile, const char* password) {
    return evaluateInto([&](TICKET_INFO& info) {
        return VorakEvalLogonTicketEx(ticket.c_str(), profile.c_str(), password, nullptr, nullptr, &info);
    });
}

Evaluation evaluateAssertion(const std::string& ticket, const std::string& profile, const char* systemId,
                             const char* client) {
    return evaluateInto([&](TICKET_INFO& info) {
        return VorakEvalAssertionTicket(ticket.c_str(), profile.c_str(), nullptr, systemId, client, &info);
    });
}

}  // namespace quorvanti::test

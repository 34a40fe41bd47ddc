#include "tools/sso2ticket/library_session.h"

#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/failure.h"

#include <quorvanti/voraksso.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace quorvanti {

namespace {

constexpr std::size_t textRoom = 1024;          // a unit has 256 bytes; no code page makes four times as many of them
constexpr std::size_t certificateRoom = 65536;  // stored certificates may be long, carried ones have less than 4096
constexpr std::int64_t secondsPerDay = 86400;
constexpr const char* converterSwitch = "RSCP_CATCH_INIT";

void setProperty(const char* name, const std::string& value) {
    if (QuorvantiSetProperty(name, value.c_str()) != VORAK_OK) {
        throw Failure(ExitCode::configuration, std::string("the property ") + name + " cannot be set");
    }
}

const char* orNull(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
}

// A buffer with its capacity, as the library wants them.
class TextOutput {
public:
    TextOutput(char*& buffer, std::uint32_t*& capacity) {
        buffer = text_.data();
        capacity = &length_;
    }
    std::string text() const { return {text_.data(), std::min<std::size_t>(length_, text_.size())}; }

private:
    std::array<char, textRoom> text_{};
    std::uint32_t length_ = textRoom;
};

}  // namespace

LibrarySession::LibrarySession(const SessionSettings& settings) {
    if (std::getenv(converterSwitch) == nullptr) {
        quietConverter_.emplace(converterSwitch, "0");
    }
    if (!settings.traceFile.empty()) {
        setProperty("KAV_EXT_TRL", settings.traceLevel);
        setProperty("KAV_EXT_TRC", settings.traceFile);
    }
    const char* library = settings.cryptoLibrary.empty() ? nullptr : settings.cryptoLibrary.c_str();
    if (const std::int32_t code = VorakInitialize(library); code != VORAK_OK) {
        VorakShutdown();
        const Explanation explanation = explain(code);
        throw Failure(ExitCode::cryptoUnavailable, "the library does not start, code " + std::to_string(code) + ": " +
                                                       explanation.meaning + " " + explanation.next);
    }
}

LibrarySession::~LibrarySession() {
    VorakShutdown();
}

std::int32_t LibrarySession::evaluate(const EvaluationRequest& request, TicketContents& contents) const {
    TICKET_INFO info{};
    info.struct_size = sizeof info;
    std::copy_n(request.codePage.begin(), std::min(request.codePage.size(), sizeof info.code_page), info.code_page);
    const TextOutput systemId(info.system_id, info.system_id_capacity);
    const TextOutput user(info.user, info.user_capacity);
    const TextOutput client(info.client, info.client_capacity);
    const TextOutput language(info.language, info.language_capacity);
    const TextOutput portalUser(info.portal_user, info.portal_user_capacity);
    const TextOutput authScheme(info.auth_scheme, info.auth_scheme_capacity);
    std::vector<std::uint8_t> certificate(certificateRoom);
    auto certificateLength = static_cast<std::uint32_t>(certificate.size());
    info.certificate = certificate.data();
    info.certificate_capacity = &certificateLength;
    std::int64_t creationTime = 0;
    info.creation_time = &creationTime;
    info.validity = &contents.validity;

    const char* password = request.password ? request.password->text() : nullptr;
    std::int32_t code = VORAK_OK;
    if (request.assertion) {
        code = VorakEvalAssertionTicket(request.ticket.c_str(), request.profile.c_str(), password,
                                        orNull(request.systemId), orNull(request.client), &info);
    } else {
        if (request.systemId) {
            setProperty("KAV_EXT_SYSID", *request.systemId);
        }
        if (request.client) {
            setProperty("KAV_EXT_CLIENT", *request.client);
        }
        code =
            VorakEvalLogonTicketEx(request.ticket.c_str(), request.profile.c_str(), password, nullptr, nullptr, &info);
    }
    if (code != VORAK_OK) {
        return code;
    }
    contents.systemId = systemId.text();
    contents.user = user.text();
    contents.client = client.text();
    contents.language = language.text();
    contents.portalUser = portalUser.text();
    contents.authScheme = authScheme.text();
    contents.creationTime = creationTime - secondsPerDay;  // the library counts the day of the month from one
    contents.flags = info.flags;
    contents.recipientMatched = info.assertion_marker == 1;
    certificate.resize(certificateLength);
    contents.certificate = std::move(certificate);
    return code;
}

}  // namespace quorvanti

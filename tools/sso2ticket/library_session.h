// The library, from its start to its end, and one evaluation through its public functions.
#pragma once

#include "tools/sso2ticket/environment_override.h"
#include "tools/sso2ticket/secret.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvanti {

struct SessionSettings {
    std::string cryptoLibrary;  // empty: SSF_LIB, else the default names
    std::string traceFile;      // empty: none, unless the environment asks for one
    std::string traceLevel;
};

struct EvaluationRequest {
    std::string ticket;
    std::string profile;
    std::optional<Secret> password;
    bool assertion = false;
    std::optional<std::string> systemId;  // of the system that receives the ticket
    std::optional<std::string> client;
    std::string codePage = "4110";  // of the texts handed out
};

struct TicketContents {
    std::string systemId;
    std::string user;
    std::string client;
    std::string language;
    std::string portalUser;
    std::string authScheme;
    std::int64_t creationTime = 0;  // seconds since 1970
    std::int32_t validity = 0;      // seconds left
    std::uint32_t flags = 0;
    bool recipientMatched = false;
    std::vector<std::uint8_t> certificate;
};

class LibrarySession {
public:
    // Throws Failure when the library does not start.
    explicit LibrarySession(const SessionSettings& settings);
    ~LibrarySession();
    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;

    // The library's return code; `contents` counts when it is 0.
    std::int32_t evaluate(const EvaluationRequest& request, TicketContents& contents) const;

private:
    // Holds back what the code page converter says on standard error about its own start, unless the environment has a
    // wish of its own about it.
    std::optional<EnvironmentOverride> quietConverter_;
};

}  // namespace quorvanti

// Evaluates through the shared library's public functions, as any program would, with every output asked for.
#pragma once

#include "tests/support/issuer/ticket_builder.h"

#include <quorvanti/voraksso.h>

#include <array>
#include <cstdint>
#include <string>

namespace quorvanti::test {

struct Evaluation {
    std::int32_t code = -1;
    std::string user, client, systemId, language, portalUser, authScheme;
    std::int64_t creationTime = 0;
    std::int32_t validity = 0;
    Bytes certificate;
    std::int32_t marker = 0;
};

// The library between its start with the default crypto library and its end.
class Library {
public:
    Library() : code_(VorakInitialize(nullptr)) {}
    ~Library() { VorakShutdown(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    std::int32_t startCode() const { return code_; }

private:
    std::int32_t code_;
};

Evaluation evaluateLogon(const std::string& ticket, const std::string& profile, const char* password = nullptr);
Evaluation evaluateAssertion(const std::string& ticket, const std::string& profile, const char* systemId,
                             const char* client);

}  // namespace quorvanti::test

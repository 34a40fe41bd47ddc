// What a caller must have given before an assertion ticket is created.
#pragma once

#include <quorvanti/voraksso.h>

#include <cstdint>
#include <string_view>

namespace quorvanti {

// The arguments of VorakCreateAssertionTicket.
struct AssertionRequest {
    const char* ownSystemId;
    const char* ownClient;
    const char* profile;
    const char* password;
    const AssertionContent* content;
    char* ticket;
    std::uint32_t* ticketLength;
};

// A text of the content; empty when it is not given.
std::string_view givenText(const char* text, const std::uint32_t* length);

inline constexpr std::uint32_t kLongestPortalUser = 256;
inline constexpr std::uint32_t kLongestAuthScheme = 256;

// 0, or the code of the first check that fails, each with its line.
std::int32_t checkAssertionRequest(const AssertionRequest& request);

}  // namespace quorvanti

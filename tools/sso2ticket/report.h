// The result in words, for people or for programs.
#pragma once

#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/library_session.h"
#include "tools/sso2ticket/signer.h"

#include <string>

namespace quorvanti {

std::string acceptedText(const TicketContents& contents, const Signer& signer);
std::string acceptedJson(const TicketContents& contents, const Signer& signer);
std::string rejectedText(const Explanation& explanation);
std::string rejectedJson(const Explanation& explanation);

}  // namespace quorvanti

// The commands one by one, for command_line.cpp.
#pragma once

#include "tools/sso2ticket/command_line.h"

namespace quorvanti {

void addVerify(CLI::App& app, Action& action);
void addCreate(CLI::App& app, Action& action);
void addKeystore(CLI::App& app, Action& action);
void addJwt(CLI::App& app, Action& action);

}  // namespace quorvanti

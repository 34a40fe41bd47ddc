// Options that several commands have.
#pragma once

#include "tools/sso2ticket/library_session.h"
#include "tools/sso2ticket/password.h"

#include <CLI/CLI.hpp>

#include <string>

namespace quorvanti {

// --password-file, --password-env, --password-prompt; with a prefix --new-password-file and so on.
CLI::Option_group* addPassword(CLI::App& command, PasswordSource& password, const std::string& prefix = "");

// --crypto-library, --trace, --trace-level
void addSession(CLI::App& command, SessionSettings& session);

void addJson(CLI::App& command, bool& json);

CLI::Validator upTo(std::size_t limit, const std::string& what);  // bytes
CLI::Validator codePage();

}  // namespace quorvanti

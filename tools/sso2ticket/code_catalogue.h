// Every return code an operator may meet: its name, what it means and what to look at next.
#pragma once

#include "tools/sso2ticket/exit_code.h"

#include <cstdint>
#include <span>
#include <string>

namespace quorvanti {

enum class CodeKind {
    plain,     // a return code of the library that carries no code of the crypto library
    combined,  // the low half of a return code whose high half is the crypto library's
    crypto,    // a code of the crypto library
};

struct CodeEntry {
    CodeKind kind;
    std::int32_t code;
    const char* name;
    ExitCode exit;
    const char* meaning;
    const char* next;
};

std::span<const CodeEntry> codeCatalogue();

// Null for a code that is not in the catalogue.
const CodeEntry* findCode(CodeKind kind, std::int32_t code);

// A return code in words.
struct Explanation {
    std::int32_t code;
    std::int32_t standardError;  // low half
    std::int32_t ssfError;       // high half
    std::string name;
    std::string meaning;
    std::string next;
    ExitCode exit;
};

Explanation explain(std::int32_t returnCode);

}  // namespace quorvanti

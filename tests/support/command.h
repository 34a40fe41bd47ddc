// Runs a program and keeps what it prints.
#pragma once

#include <string>
#include <vector>

namespace quorvanti::test {

struct CommandResult {
    int exitCode;     // 1000 and more when the program did not end by itself
    std::string out;  // as text, whatever ends its lines
    std::string err;
    std::string bytes;  // of the output, as they came
};

// The program is a path or is looked up as the system does it; "openssl" is the one that belongs to this build's tests.
CommandResult runCommand(const std::vector<std::string>& words, const std::string& in = "");
// Or whether this system knows command lines in characters only.
bool wordsMayBeAnyBytes();
// Whether the programs that use libcrypto load its old ciphers, and so can be kept from it.
bool opensslCanLackOldCiphers();

// In place of a test that needs it.
#define SKIP_UNLESS_WORDS_MAY_BE_ANY_BYTES()    \
    if (!quorvanti::test::wordsMayBeAnyBytes()) \
    GTEST_SKIP() << "command lines of this system hold characters, not bytes of a code page"
#define SKIP_UNLESS_OLD_CIPHERS_CAN_LACK()            \
    if (!quorvanti::test::opensslCanLackOldCiphers()) \
    GTEST_SKIP() << "libcrypto is linked in with its old ciphers here, nothing keeps a program from them"

}  // namespace quorvanti::test

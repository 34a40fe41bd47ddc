#include "tools/sso2ticket/console.h"

#include "tools/sso2ticket/failure.h"

#include <conio.h>
#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace quorvanti {

Secret askForSecret(const std::string& prompt) {
    if (_isatty(_fileno(stderr)) == 0) {
        throw Failure(ExitCode::configuration, "there is no terminal to ask for the password on");
    }
    _cputs(prompt.c_str());
    Secret secret;
    for (int character = _getch(); character != '\r' && character != '\n' && character != EOF; character = _getch()) {
        if (!secret.append(static_cast<char>(character))) {
            throw Failure(ExitCode::configuration, "the password is too long");
        }
    }
    _cputs("\r\n");
    return secret;
}

void readBytesAsTheyAre() {
    _setmode(_fileno(stdin), _O_BINARY);
}

void writeBytesAsTheyAre() {
    _setmode(_fileno(stdout), _O_BINARY);
}

}  // namespace quorvanti

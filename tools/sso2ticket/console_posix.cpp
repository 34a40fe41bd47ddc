#include "tools/sso2ticket/console.h"

#include "tools/sso2ticket/failure.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace quorvanti {

namespace {

class Terminal {
public:
    Terminal() : descriptor_(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (descriptor_ < 0) {
            throw Failure(ExitCode::configuration, "there is no terminal to ask for the password on");
        }
        if (tcgetattr(descriptor_, &before_) != 0) {
            close(descriptor_);
            throw Failure(ExitCode::configuration, "the terminal cannot be asked for the password");
        }
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(descriptor_, TCSAFLUSH, &silent);
    }
    ~Terminal() {
        tcsetattr(descriptor_, TCSAFLUSH, &before_);
        close(descriptor_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void write(const std::string& text) const {
        const ssize_t written = ::write(descriptor_, text.data(), text.size());
        static_cast<void>(written);  // a prompt that cannot be shown stops nobody
    }
    bool read(char& character) const { return ::read(descriptor_, &character, 1) == 1; }

private:
    int descriptor_;
    termios before_{};
};

}  // namespace

Secret askForSecret(const std::string& prompt) {
    const Terminal terminal;
    terminal.write(prompt);
    Secret secret;
    for (char character = 0; terminal.read(character) && character != '\n';) {
        if (!secret.append(character)) {
            throw Failure(ExitCode::configuration, "the password is too long");
        }
    }
    terminal.write("\n");
    return secret;
}

void readBytesAsTheyAre() {}

void writeBytesAsTheyAre() {}

}  // namespace quorvanti

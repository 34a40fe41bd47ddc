// The password prompt, on a terminal that the test holds the other end of.
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* prompt = "Password of the key store: ";

struct Session {
    std::string shown;  // everything that appeared on the terminal
    int exitCode = -1;
};

Session typeAtPrompt(const std::string& profile, const std::string& ticket, const std::string& typed) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execl(QUORVANTI_SSO2TICKET, "sso2ticket", "verify", "--profile", profile.c_str(), "--password-prompt",
              ticket.c_str(), nullptr);
        _exit(127);
    }
    Session session;
    bool answered = false;
    char part[512];
    // At the child's end the read fails.
    for (ssize_t count = 0; (count = read(terminal, part, sizeof part)) > 0;) {
        session.shown.append(part, static_cast<std::size_t>(count));
        if (!answered && session.shown.find(prompt) != std::string::npos) {
            answered = true;
            EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
        }
    }
    close(terminal);
    int status = 0;
    waitpid(child, &status, 0);
    session.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return session;
}

class Prompt : public testing::Test {
protected:
    Prompt() {
        const Bytes pkcs12 = issuer_.pkcs12("opensesame");
        writeFile(profile_, std::string(pkcs12.begin(), pkcs12.end()));
    }

    const TemporaryDirectory directory_;
    const std::string profile_ = directory_.file("profile.p12");
    const InProcessIssuer issuer_{KeyKind::ec};
    const std::string ticket_ = issuer_.ticket(TicketBuilder::logon(std::time(nullptr)));
};

TEST_F(Prompt, TakesThePasswordAndDoesNotShowIt) {
    const Session session = typeAtPrompt(profile_, ticket_, "opensesame\n");
    EXPECT_EQ(session.exitCode, 0);
    EXPECT_THAT(session.shown, HasSubstr("accepted"));
    EXPECT_THAT(session.shown, Not(HasSubstr("opensesame")));
}

TEST_F(Prompt, TheWrongPasswordOpensNothing) {
    const Session session = typeAtPrompt(profile_, ticket_, "swordfish\n");
    EXPECT_EQ(session.exitCode, 4);
    EXPECT_THAT(session.shown, Not(HasSubstr("swordfish")));
}

}  // namespace

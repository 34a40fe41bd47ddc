// The password prompt, on a terminal that the test holds the other end of.
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <vector>

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* prompt = "Password of the key store: ";

struct Session {
    std::string shown;  // everything that appeared on the terminal
    int exitCode = -1;
};

struct Answer {
    std::string prompt;
    std::string typed;
};

// Types each answer when its prompt has appeared, in this order.
Session talk(std::vector<std::string> words, const std::vector<Answer>& answers) {
    words.insert(words.begin(), "sso2ticket");
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execv(QUORVANTI_SSO2TICKET, arguments.data());
        _exit(127);
    }
    Session session;
    auto next = answers.begin();
    std::size_t seen = 0;
    char part[512];
    // At the child's end the read fails.
    for (ssize_t count = 0; (count = read(terminal, part, sizeof part)) > 0;) {
        session.shown.append(part, static_cast<std::size_t>(count));
        const std::size_t at = next != answers.end() ? session.shown.find(next->prompt, seen) : std::string::npos;
        if (at != std::string::npos) {
            seen = at + next->prompt.size();
            EXPECT_EQ(write(terminal, next->typed.data(), next->typed.size()),
                      static_cast<ssize_t>(next->typed.size()));
            ++next;
        }
    }
    EXPECT_EQ(next, answers.end()) << session.shown;
    close(terminal);
    int status = 0;
    waitpid(child, &status, 0);
    session.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return session;
}

Session typeAtPrompt(const std::string& profile, const std::string& ticket, const std::string& typed) {
    return talk({"verify", "--profile", profile, "--password-prompt", ticket}, {{prompt, typed}});
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

constexpr const char* newPrompt = "New password of the key store: ";
constexpr const char* againPrompt = "Once more: ";

TEST_F(Prompt, ANewKeyStoreAsksTwiceAndOpensWithWhatWasTyped) {
    const std::string store = directory_.file("new.p12");
    const std::vector<std::string> create = {"keystore", "create", store,     "--subject",
                                             "CN=PRD",   "--key",  "ec-p256", "--password-prompt"};
    const Session differing = talk(create, {{newPrompt, "opensesame\n"}, {againPrompt, "opensesam\n"}});
    EXPECT_EQ(differing.exitCode, 4);
    EXPECT_THAT(differing.shown, HasSubstr("the two passwords differ"));
    EXPECT_FALSE(std::filesystem::exists(store));
    const Session made = talk(create, {{newPrompt, "opensesame\n"}, {againPrompt, "opensesame\n"}});
    EXPECT_EQ(made.exitCode, 0);
    EXPECT_THAT(made.shown, Not(HasSubstr("opensesam")));
    const Session listed = talk({"keystore", "list", store, "--password-prompt"}, {{prompt, "opensesame\n"}});
    EXPECT_EQ(listed.exitCode, 0);
    EXPECT_THAT(listed.shown, HasSubstr("CN=PRD"));
}

TEST_F(Prompt, AChangedPasswordIsAskedForAfterTheOldOne) {
    const std::vector<std::string> change = {"keystore", "change-password", profile_, "--password-prompt",
                                             "--new-password-prompt"};
    const Session session =
        talk(change, {{prompt, "opensesame\n"}, {newPrompt, "swordfish\n"}, {againPrompt, "swordfish\n"}});
    EXPECT_EQ(session.exitCode, 0) << session.shown;
    EXPECT_THAT(session.shown, Not(HasSubstr("swordfish")));
    EXPECT_EQ(typeAtPrompt(profile_, ticket_, "swordfish\n").exitCode, 0);
}

}  // namespace

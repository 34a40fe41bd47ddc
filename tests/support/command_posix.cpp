#include "tests/support/command.h"

#include "tests/support/temporary_directory.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace quorvanti::test {

CommandResult runCommand(const std::vector<std::string>& words, const std::string& in) {
    const TemporaryDirectory directory;
    writeFile(directory.file("in"), in);
    std::vector<std::string> copies = words;
    std::vector<char*> arguments;
    for (std::string& word : copies) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t redirections;
    posix_spawn_file_actions_init(&redirections);
    const int fresh = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&redirections, 0, directory.file("in").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&redirections, 1, directory.file("out").c_str(), fresh, 0600);
    posix_spawn_file_actions_addopen(&redirections, 2, directory.file("err").c_str(), fresh, 0600);
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], &redirections, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&redirections);
    if (error != 0) {
        return {1000, "", words[0] + " cannot be started", ""};
    }
    int status = 0;
    waitpid(child, &status, 0);
    const int exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    const std::string out = readFile(directory.file("out"));
    return {exitCode, out, readFile(directory.file("err")), out};
}

bool wordsMayBeAnyBytes() {
    return true;
}

bool opensslCanLackOldCiphers() {
    return true;
}

}  // namespace quorvanti::test

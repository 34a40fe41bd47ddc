#include "tools/sso2ticket/password.h"

#include "tools/sso2ticket/console.h"
#include "tools/sso2ticket/failure.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace quorvanti {

namespace {

struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};

void append(Secret& secret, int character) {
    if (!secret.append(static_cast<char>(character))) {
        throw Failure(ExitCode::configuration, "the password is too long");
    }
}

Secret fromFile(const std::string& name) {
    const std::unique_ptr<std::FILE, Close> stream(std::fopen(name.c_str(), "rb"));
    if (stream == nullptr) {
        throw Failure(ExitCode::configuration, "the password file " + name + " cannot be read");
    }
    std::setvbuf(stream.get(), nullptr, _IONBF, 0);  // no copy stays behind in a buffer
    Secret secret;
    int character = std::fgetc(stream.get());
    for (; character != EOF && character != '\n' && character != '\r'; character = std::fgetc(stream.get())) {
        append(secret, character);
    }
    if (std::ferror(stream.get()) != 0) {
        throw Failure(ExitCode::configuration, "the password file " + name + " cannot be read");
    }
    return secret;
}

Secret fromEnvironment(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    if (value == nullptr) {
        throw Failure(ExitCode::configuration, "the environment variable " + name + " is not set");
    }
    Secret secret;
    for (; *value != '\0'; ++value) {
        append(secret, *value);
    }
    return secret;
}

Secret askTwice() {
    Secret secret = askForSecret("New password of the key store: ");
    if (askForSecret("Once more: ").view() != secret.view()) {
        throw Failure(ExitCode::configuration, "the two passwords differ");
    }
    return secret;
}

}  // namespace

std::optional<Secret> readPassword(const PasswordSource& source) {
    if (!source.file.empty()) {
        return fromFile(source.file);
    }
    if (!source.environment.empty()) {
        return fromEnvironment(source.environment);
    }
    if (source.prompt) {
        return askForSecret("Password of the key store: ");
    }
    return std::nullopt;
}

Secret readNewPassword(const PasswordSource& source) {
    std::optional<Secret> secret;
    if (source.prompt) {
        secret.emplace(askTwice());
    } else if (std::optional<Secret> given = readPassword(source)) {
        secret.emplace(std::move(*given));
    }
    if (!secret || secret->view().empty()) {
        throw Failure(ExitCode::configuration, "a key store that is written needs a password that is not empty");
    }
    return std::move(*secret);
}

}  // namespace quorvanti

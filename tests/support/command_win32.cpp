#include "tests/support/command.h"

#include "tests/support/temporary_directory.h"

#include <windows.h>

namespace quorvanti::test {

namespace {

// As the C runtime takes a command line apart again.
std::string quoted(const std::string& word) {
    std::string result = "\"";
    std::size_t backslashes = 0;
    for (const char character : word) {
        if (character == '"') {
            result.append(backslashes + 1, '\\');
        }
        backslashes = character == '\\' ? backslashes + 1 : 0;
        result += character;
    }
    return result.append(backslashes, '\\') + "\"";
}

std::string asText(std::string text) {
    for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
        text.erase(at, 1);
    }
    return text;
}

HANDLE openInherited(const std::string& name, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileA(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, disposition,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

CommandResult runCommand(const std::vector<std::string>& words, const std::string& in) {
    const TemporaryDirectory directory;
    writeFile(directory.file("in"), in);
    std::string line;
    for (const std::string& word : words) {
        line += quoted(word == "openssl" ? QUORVANTI_OPENSSL : word) + " ";
    }
    // The openssl command reads its words in the system's code page otherwise.
    SetEnvironmentVariableA("OPENSSL_WIN32_UTF8", "1");
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = openInherited(directory.file("in"), GENERIC_READ, OPEN_EXISTING);
    startup.hStdOutput = openInherited(directory.file("out"), GENERIC_WRITE, CREATE_ALWAYS);
    startup.hStdError = openInherited(directory.file("err"), GENERIC_WRITE, CREATE_ALWAYS);
    PROCESS_INFORMATION child{};
    const bool started =
        CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &child) != FALSE;
    const DWORD error = GetLastError();
    DWORD exitCode = 1000;
    if (started) {
        WaitForSingleObject(child.hProcess, INFINITE);
        GetExitCodeProcess(child.hProcess, &exitCode);
        CloseHandle(child.hThread);
        CloseHandle(child.hProcess);
    }
    CloseHandle(startup.hStdInput);
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    const std::string out = readFile(directory.file("out"));
    std::string err = asText(readFile(directory.file("err")));
    if (!started) {
        err = words[0] + " cannot be started: error " + std::to_string(error);
    } else if (exitCode > 255) {
        err += words[0] + " ended with " + std::to_string(exitCode);
        exitCode = 1000;
    }
    return {static_cast<int>(exitCode), asText(out), err, out};
}

bool wordsMayBeAnyBytes() {
    return false;
}

bool opensslCanLackOldCiphers() {
    return false;
}

}  // namespace quorvanti::test

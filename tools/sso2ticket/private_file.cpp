#include "tools/sso2ticket/private_file.h"

#include "tools/sso2ticket/failure.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace quorvanti {

namespace {

constexpr std::size_t fileLimit = 16U << 20U;

Failure failure(const std::string& name, const std::string& what) {
    return {ExitCode::configuration, "the file " + name + " " + what};
}

std::vector<std::uint8_t> readAll(std::istream& stream, const std::string& source) {
    std::vector<std::uint8_t> content(fileLimit + 1);
    stream.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(stream.gcount()));
    if (stream.bad()) {
        throw Failure(ExitCode::configuration, source + " cannot be read");
    }
    if (content.size() > fileLimit) {
        throw Failure(ExitCode::configuration, source + " is longer than 16 MiB");
    }
    return content;
}

}  // namespace

std::vector<std::uint8_t> readWholeFile(const std::string& name) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(name, error);
    if (!std::filesystem::exists(status)) {
        throw failure(name, "does not exist");
    }
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(nullptr, 0);  // no copy of a key stays behind in a buffer
    stream.open(name, std::ios::binary);
    if (std::filesystem::is_directory(status) || !stream) {
        throw failure(name, "cannot be read");
    }
    return readAll(stream, "the file " + name);
}

std::vector<std::uint8_t> readWholeInput(const std::string& name, std::istream& standardInput) {
    return name == "-" ? readAll(standardInput, "standard input") : readWholeFile(name);
}

void createPrivateFile(const std::string& name, std::span<const std::uint8_t> content) {
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::symlink_status(name, error))) {
        throw failure(name, "is there already");
    }
    if (const std::string reason = writeNewPrivateFile(name, content); !reason.empty()) {
        throw failure(name, "cannot be written: " + reason);
    }
}

void replacePrivateFile(const std::string& name, std::span<const std::uint8_t> content) {
    // A link stays a link: what it leads to is replaced.
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(name, error);
    if (error) {
        throw failure(name, "cannot be written: " + error.message());
    }
    const std::string temporary = target.string() + "." + std::to_string(std::random_device{}()) + ".new";
    if (const std::string reason = writeNewPrivateFile(temporary, content); !reason.empty()) {
        throw failure(name, "cannot be written: " + reason);
    }
    if (const std::string reason = putInPlaceOf(target.string(), temporary); !reason.empty()) {
        std::filesystem::remove(temporary, error);
        throw failure(name, "cannot be written: " + reason);
    }
}

}  // namespace quorvanti

// A directory of its own for one test, removed with everything in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace quorvanti::test {

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::random_device random;
        do {
            path_ = std::filesystem::temp_directory_path() /
                    ("quorvanti-test-" + std::to_string(random()) + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string file(std::string_view name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

inline std::string readFile(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// Lines as the program sees them, however this system ends them in files.
inline std::string readText(const std::string& name) {
    std::ifstream stream(name);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline void writeFile(const std::string& name, std::string_view content) {
    std::ofstream stream(name, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
}

}  // namespace quorvanti::test

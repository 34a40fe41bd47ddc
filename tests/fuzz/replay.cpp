// Stands in for libFuzzer in ordinary builds: runs the fuzz target once on every seed of the directories named on the
// command line. What the target finds wrong ends the process, as it does under libFuzzer.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> seedsOf(const std::filesystem::path& directory) {
    std::vector<std::filesystem::path> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            seeds.push_back(entry.path());
        }
    }
    std::sort(seeds.begin(), seeds.end());
    return seeds;
}

bool replay(const std::filesystem::path& seed) {
    std::ifstream file(seed, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", seed.string().c_str());
        return false;
    }
    // A block of exactly the seed's size, so that a sanitizer sees the first byte read beyond it.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    std::printf("%s\n", seed.filename().string().c_str());
    std::fflush(stdout);
    return LLVMFuzzerTestOneInput(input.data(), input.size()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& seed : seedsOf(argv[i])) {
            if (!replay(seed)) {
                return 1;
            }
            ++replayed;
        }
    }
    if (replayed == 0) {
        std::fprintf(stderr, "no seeds\n");
        return 1;
    }
    return 0;
}

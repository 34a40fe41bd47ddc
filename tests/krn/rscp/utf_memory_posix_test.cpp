// Texts and rooms next to memory that nobody may touch, and which instructions the processor has.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>

#include "tests/krn/rscp/utf_oracle.h"

namespace quorvanti::utf_test {
namespace {

// One page between two that cannot be read or written.
class LonelyPage {
public:
    LonelyPage() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        void* const pages = mmap(nullptr, 3 * size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED) {
            throw std::bad_alloc();
        }
        pages_ = static_cast<std::uint8_t*>(pages);
        if (mprotect(begin(), size_, PROT_READ | PROT_WRITE) != 0) {
            munmap(pages_, 3 * size_);
            throw std::bad_alloc();
        }
    }
    ~LonelyPage() { munmap(pages_, 3 * size_); }
    LonelyPage(const LonelyPage&) = delete;
    LonelyPage& operator=(const LonelyPage&) = delete;

    std::uint8_t* begin() { return pages_ + size_; }
    std::uint8_t* end() { return begin() + size_; }

private:
    std::size_t size_;
    std::uint8_t* pages_ = nullptr;
};

Bytes mixedText(const Member& row, std::size_t count) {
    Bytes text;
    const Member& encoder = member("U4_to_U8");
    constexpr std::uint32_t kCharacters[] = {'a', 0xE9, 'b', 0x20AC, 'c', 'd', 0x4E00, 'e', 0x3B1, 'f', 'g'};
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t character = kCharacters[i % std::size(kCharacters)];
        const Bytes bytes = row.direction == Direction::toUtf8
                                ? wideBytes(row, {character})
                                : expected(encoder, wideBytes(encoder, {character}), kRoomy).output;
        text.insert(text.end(), bytes.begin(), bytes.end());
    }
    return text;
}

// Text and room at the beginnings, or at the ends, of their pages.
void convertOnThePage(UtfInstructions instructions, const Member& row, const Bytes& text, bool atTheEnd) {
    static LonelyPage source;
    static LonelyPage room;
    const Bytes wanted = expected(row, text, kRoomy).output;
    const auto length = static_cast<std::ptrdiff_t>(text.size());
    const auto needed = static_cast<std::ptrdiff_t>(wanted.size());
    std::uint8_t* const place = atTheEnd ? source.end() - length : source.begin();
    std::uint8_t* const output = atTheEnd ? room.end() - needed : room.begin();
    std::copy(text.begin(), text.end(), place);
    const std::uint8_t* from = place;
    std::uint8_t* to = output;
    const std::int32_t code =
        row.direction == Direction::toUtf8
            ? utfEncoder(row.form, row.order, row.controls, instructions)(from, place + length, to, output + needed)
            : utfDecoder(row.form, row.order, row.controls, instructions)(from, place + length, to, output + needed,
                                                                          nullptr, nullptr);
    EXPECT_EQ(code, 0) << nameOf(instructions) << ' ' << row.name;
    EXPECT_EQ(Bytes(output, to), wanted) << nameOf(instructions) << ' ' << row.name;
}

TEST(UtfMemory, NothingBesideTextAndRoomIsTouched) {
    for (const UtfInstructions instructions : availableInstructions()) {
        for (const Member& row : kMembers) {
            for (std::size_t count = 0; count <= 100; ++count) {
                const Bytes text = mixedText(row, count);
                convertOnThePage(instructions, row, text, false);
                convertOnThePage(instructions, row, text, true);
            }
        }
    }
}

TEST(UtfMemory, InstructionsAreThoseThatTheSystemNames) {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line) && line.compare(0, 5, "flags") != 0) {
    }
    if (line.compare(0, 5, "flags") != 0) {
        GTEST_SKIP() << "not a system that tells";
    }
    std::istringstream words(line);
    const std::vector<std::string> flags{std::istream_iterator<std::string>(words), {}};
    const auto has = [&flags](const char* flag) { return std::find(flags.begin(), flags.end(), flag) != flags.end(); };
    bool avx512 = true;
    for (const char* flag :
         {"avx512f", "avx512dq", "avx512bw", "avx512vl", "avx512vbmi", "avx512_vbmi2", "bmi1", "bmi2", "popcnt"}) {
        avx512 = avx512 && has(flag);
    }
    EXPECT_EQ(available(UtfInstructions::avx512), avx512);
    EXPECT_EQ(available(UtfInstructions::sse2), has("sse2"));
    EXPECT_TRUE(available(UtfInstructions::portable));
}

}  // namespace
}  // namespace quorvanti::utf_test

#include "tests/base/dptrc/trace_fixture.h"

#include <numeric>
#include <vector>

namespace quorvanti {
namespace {

class TraceHexDump : public test::TraceFixture {
protected:
    std::string dump(const void* data, std::size_t length) {
        open("3");
        DpTrcHexDump(data, length);
        return written().substr(tagged(test::kStamp).size());
    }
};

TEST_F(TraceHexDump, OfSixteenBytesHasALineThatHoldsOnlyTheLength) {
    EXPECT_EQ(dump("0123456789abcdef", 16),
              tagged("@00000000  30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66  0123456789abcdef\n"
                     "@00000010  " +
                     std::string(49, ' ') + " " + std::string(16, ' ') + "\n"));
}

TEST_F(TraceHexDump, OfNothingIsOneLine) {
    EXPECT_EQ(dump(nullptr, 0), tagged("@00000000  " + std::string(49, ' ') + " " + std::string(16, ' ') + "\n"));
}

TEST_F(TraceHexDump, OfAShortRestIsPadded) {
    EXPECT_EQ(dump("A\n\x7f\x80 ~\x1f.z", 9),
              tagged("@00000000  41 0a 7f 80 20 7e 1f 2e  7a                       A... ~..z       \n"));
    EXPECT_EQ(dump("abc", 3),
              tagged("@00000000  61 62 63                                          abc             \n"));
}

TEST_F(TraceHexDump, OfPercentSignsIsNoFormat) {
    EXPECT_EQ(dump("%s%n%d", 6),
              tagged("@00000000  25 73 25 6e 25 64                                 %s%n%d          \n"));
}

TEST_F(TraceHexDump, CountsItsLines) {
    std::vector<unsigned char> bytes(256);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    const std::string text = dump(bytes.data(), bytes.size());
    EXPECT_NE(text.find("] 000000F0  f0 f1 f2 f3 f4 f5 f6 f7  f8 f9 fa fb fc fd fe ff  ................\n"),
              std::string::npos);
    EXPECT_NE(text.find("] 00000100  "), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 17);
}

TEST_F(TraceHexDump, IsWrittenAtLevelThreeOnly) {
    open("2");
    DpTrcHexDump("abc", 3);
    EXPECT_EQ(written(), "");
}

}  // namespace
}  // namespace quorvanti

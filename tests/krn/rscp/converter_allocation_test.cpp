#include "tests/krn/rscp/converter_fixture.h"
#include "tests/support/allocation_failure.h"

#include <cstdlib>
#include <thread>

namespace quorvanti::test {
namespace {

// In a buffer on the stack, with the library's own surroundings.
std::int32_t convertBytes(rscpCObj_t& object, std::string_view input) {
    std::uint8_t buffer[256];
    std::uint8_t* destination = buffer;
    const auto* source = reinterpret_cast<const std::uint8_t*>(input.data());
    return rscpCConvert(&object, destination, buffer + sizeof buffer, source, source + input.size());
}

TEST_F(ConverterTest, NeitherConversionNorActivationOfAKnownPairAllocates) {
    setConverterHooks(nullptr);
    std::vector<rscpCObj_t> objects;
    for (const char* source : {"1100", "1160", "4102", "4105", "4110"}) {
        for (const char* target : {"1100", "1160", "4102", "4105", "4110"}) {
            objects.push_back(activated(source, target));
        }
    }
    rscpeFail(RSCPEIO, "x", 1, 2, "the thread has its record");
    int failures = 0;
    {
        const AllocationFailure none;
        for (rscpCObj_t& object : objects) {
            failures += rscpCActivate(&object, true, true) != 0;
            convertBytes(object,
                         "\xC3\xBC"
                         "ab\xE2\x82");  // with errors for some
        }
    }
    EXPECT_EQ(failures, 0);
}

void failWithoutMemory() {
    // The key exists, the record of a new thread does not.
    rscpeFail(RSCPEIO, "x", 1, 2, "m");
    int wrong = 0;
    std::thread([&wrong] {
        const AllocationFailure none;
        wrong += rscpeFail(RSCPEINVAL, "x", 1, 2, "m") != RSCPEINVAL;
        wrong += rscpeCurrent() != nullptr;
    }).join();
    std::exit(wrong);
}

TEST_F(ConverterTest, WithoutMemoryForARecordTheCodeIsStillReturned) {
    setConverterHooks(nullptr);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(failWithoutMemory(), testing::ExitedWithCode(0), "rscpmc5: ThrKeyVarSet failed\n");
}

}  // namespace
}  // namespace quorvanti::test

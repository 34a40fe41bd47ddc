#include "krn/rscp/converter_error.h"

#include "tests/krn/rscp/converter_fixture.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <thread>

namespace quorvanti::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

constexpr const char* kTop = ".------------------------------============----------------------------.";
constexpr const char* kTitle = "|                              RSCP - Error                            |";
constexpr const char* kSeparator = "|----------------------------------------------------------------------|";
constexpr const char* kBottom = "`----------------------------------------------------------------------'";

TEST_F(ConverterTest, ErrorCodesAreOneTable) {
    struct Row {
        std::int32_t code;
        const char* name;
        const char* text;
        const char* message;
        int flag;
    };
    constexpr Row kRows[] = {
        {1, "RSCPEINTERN", "Some other internal error", "001", 1},
        {8, "RSCPEIO", "Some I/O error.", "004", 1},
        {16, "RSCPEINVAL", "Invalid arguments", "005", 1},
        {32, "RSCPETOOLONG", "The data was longer than the buffer.", "006", 0},
        {64, "RSCPECALL", "Illegal mixture of procedure calls.", "007", 1},
        {128, "RSCPENOOBJ", "No such object", "008", 0},
        {256, "RSCPEBUSY", "Object is busy or locked", "009", 0},
        {512, "RSCPEUNIQ", "Selects more than one object", "010", 0},
        {2048, "RSCPENOCONV", "Wanted conversion not available.", "012", 0},
        {4096, "RSCPEBADO", "A handle is invalid or corrupted.", "013", 1},
        {8192, "RSCPEODATA", "There is no more data.", "014", 0},
        {16384, "RSCPEROLLBACK", "There happened a data base roll back", "015", 1},
    };
    const auto codes = rscpErrorCodes();
    ASSERT_EQ(codes.size(), std::size(kRows));
    for (std::size_t index = 0; index < codes.size(); ++index) {
        const Row& row = kRows[index];
        EXPECT_EQ(codes[index].code, row.code);
        EXPECT_STREQ(codes[index].name, row.name);
        EXPECT_EQ(rscpe__error(row.code, 'C', -1, "krn/rscp/test.c", 1, 2, "m", nullptr, nullptr, 0, 0, 0), row.code);
        EXPECT_STREQ(rscpeCurrent()->text, row.text);
        EXPECT_STREQ(rscpeCurrent()->messageNumber, row.message);
        EXPECT_STREQ(rscpeCurrent()->messageClass, "TS");
        EXPECT_EQ(rscpeCurrent()->flag, row.flag);
    }
}

TEST_F(ConverterTest, UnknownCodeHasEmptyNameAndBlankNumber) {
    EXPECT_EQ(rscpe__error(5, 'C', -1, "x", 1, 2, "m", nullptr, nullptr, 0, 0, 0), 5);
    EXPECT_STREQ(rscpeCurrent()->text, "");
    EXPECT_STREQ(rscpeCurrent()->messageNumber, "   ");
    EXPECT_EQ(rscpeCurrent()->flag, 0);
}

TEST_F(ConverterTest, KindISkipsTheTable) {
    rscpe__error(16, 'I', -1, "x", 1, 2, "m", "123", nullptr, 0, 0, 0);
    EXPECT_STREQ(rscpeCurrent()->text, "");
    EXPECT_STREQ(rscpeCurrent()->messageNumber, "123");
}

TEST_F(ConverterTest, ModuleNameIsCutOutOfTheIdentification) {
    const std::map<std::string, std::string> names = {
        {"krn/rscp/rscpc.c", "rscpc   "},          {"rscpu86r", "rscpu86r"}, {"krn/rscp/a.b.c", "a       "},
        {"a/b/longer_than_eight.cpp", "longer_t"}, {"", "?modul? "},         {"dir/.c", "?modul? "}};
    for (const auto& [identification, module] : names) {
        rscpe__error(1, 'C', -1, identification.c_str(), 1, 2, "m", nullptr, nullptr, 0, 0, 0);
        EXPECT_EQ(rscpeCurrent()->module, module);
    }
    rscpe__error(1, 'C', -1, nullptr, 1, 2, nullptr, nullptr, nullptr, 0, 0, 0);
    EXPECT_STREQ(rscpeCurrent()->module, "?modul? ");
}

TEST_F(ConverterTest, ReportIsABoxOf72Columns) {
    rscpeFail(RSCPEINVAL, "krn/rscp/rscpc.c", 140, 57, "overlapping buffers", "rscpCConvert&1&==&1&");
    const auto lines = linesOf(rscpeReport);
    EXPECT_THAT(lines,
                ElementsAre(kTop, kTitle, kSeparator,
                            "| Error from:                                krn/rscp/rscpc.c          |",
                            "| code:   16  Invalid arguments                                        |",
                            "| overlapping buffers                                                  |",
                            "| module: rscpc    no:  140 line:    57                    T100: TS005 |", kBottom));
    EXPECT_THAT(lines, Each(SizeIs(72)));
}

TEST_F(ConverterTest, ReportOfAPropagatedErrorNamesBothReporters) {
    rscpeFail(RSCPENOOBJ, "krn/rscp/rscpr.c", 1, 2, "the first message");
    rscpePropagate(RSCPENOOBJ, "krn/rscp/rscpa.c", 101, 77, "the second message");
    const auto lines = linesOf(rscpeReport);
    EXPECT_THAT(lines,
                ElementsAre(kTop, kTitle, kSeparator,
                            "| Error from:                                krn/rscp/rscpr.c          |",
                            "| Error propagation from:                    krn/rscp/rscpa.c          |",
                            "| code:  128  No such object                                           |",
                            "| the second message                                                   |",
                            "| the first message                                                    |",
                            "| module: rscpa    no:  101 line:    77                    T100: TS008 |", kBottom));
    EXPECT_THAT(lines, Each(SizeIs(72)));
    rscpePropagate(RSCPENOOBJ, "krn/rscp/rscpx.c", 102, 78, "the third message");
    EXPECT_STREQ(rscpeCurrent()->reporter, "krn/rscp/rscpr.c");
    EXPECT_STREQ(rscpeCurrent()->propagator, "krn/rscp/rscpx.c");
    EXPECT_STREQ(rscpeCurrent()->cause, "the first message");
}

TEST_F(ConverterTest, PropagationWithoutAnErrorIsAnError) {
    rscpeReset();
    EXPECT_EQ(rscpePropagate(RSCPEIO, "krn/rscp/rscpa.c", 1, 2, "message"), RSCPEIO);
    EXPECT_STREQ(rscpeCurrent()->reporter, "krn/rscp/rscpa.c");
    EXPECT_STREQ(rscpeCurrent()->propagator, "");
}

TEST_F(ConverterTest, ReportShowsTheSystemErrorWhenThereIsOne) {
    rscpeFail(RSCPEIO, "krn/rscp/rscpr.c", 230, 9, "Cannot read flat file with database table", "x&open&", EACCES);
    const auto lines = linesOf(rscpeReport);
    EXPECT_THAT(lines, Contains("| Some OS information, which may or may not belong to this error:      |"));
    char expected[80];
    std::snprintf(expected, sizeof expected, "| errno%6d  %-55.55s |", EACCES,
                  std::generic_category().message(EACCES).c_str());
    EXPECT_THAT(lines, Contains(expected));
    EXPECT_THAT(lines, Each(SizeIs(72)));
}

TEST_F(ConverterTest, ReportNamesWhoInitialized) {
    EXPECT_STREQ(rscpeInitializer(), "compile_time");
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_STREQ(rscpeInitializer(), "rscpCInit");
    rscpeFail(RSCPEIO, "x", 1, 2, "m");
    EXPECT_THAT(linesOf(rscpeReport),
                Contains("| Impromptu CCC initialization by rscpCInit                            |"));
}

TEST_F(ConverterTest, LongTextsAreCutToTheirFields) {
    const std::string longText(200, 'x');
    rscpeFail(RSCPEIO, longText.c_str(), 1, 2, longText.c_str(), longText, 99999);
    rscpePropagate(RSCPEIO, longText.c_str(), 1, 2, longText.c_str(), longText);
    EXPECT_EQ(std::string(rscpeCurrent()->message), std::string(100, 'x'));
    EXPECT_EQ(std::string(rscpeCurrent()->detail), std::string(100, 'x'));
    EXPECT_THAT(linesOf(rscpeReport), Each(SizeIs(72)));
}

TEST_F(ConverterTest, ErrorsAreTracedInOneLine) {
    rscpeFail(RSCPEINVAL, "krn/rscp/rscpc.c", 140, 57, "overlapping buffers", "rscpCConvert&1&==&1&");
    EXPECT_THAT(trace(), ElementsAre("rscpe__error 16 at krn/rscp/rscpc.c(140;57) \"overlapping buffers\" "
                                     "(rscpCConvert&1&==&1&)"));
}

TEST_F(ConverterTest, InitializationForgetsTheError) {
    rscpeFail(RSCPEIO, "x", 1, 2, "m");
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_EQ(rscpeCurrent()->code, 0);
}

TEST_F(ConverterTest, EveryThreadHasItsOwnRecord) {
    rscpeFail(RSCPEIO, "x", 1, 2, "mine");
    std::thread([] {
        EXPECT_EQ(rscpeCurrent(), nullptr);
        rscpeFail(RSCPEINVAL, "x", 1, 2, "yours");
        EXPECT_STREQ(rscpeCurrent()->message, "yours");
    }).join();
    EXPECT_EQ(message(), "mine");
}

TEST_F(ConverterTest, ReportWithoutAnErrorIsEmptyButWhole) {
    std::thread([] { EXPECT_THAT(linesOf(rscpeReport), Each(SizeIs(72))); }).join();
}

// The system runs out of thread keys.
TEST_F(ConverterTest, WithoutAThreadKeyTheCodeIsStillReturned) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::vector<ThrKey> keys(1 << 14, kThrNoKeyYet);
            for (ThrKey& key : keys) {
                if (ThrKeyCreate(key, nullptr) != 0) {
                    break;
                }
            }
            const std::int32_t code = rscpeFail(RSCPEIO, "x", 1, 2, "m");
            std::exit(code == RSCPEIO && rscpeCurrent() == nullptr ? 0 : 1);
        },
        testing::ExitedWithCode(0), "rscpmc5: ThrKeyGet failed\n");
}

}  // namespace
}  // namespace quorvanti::test

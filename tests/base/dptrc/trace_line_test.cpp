// The layout of every line.
#include "base/dptrc/trace_line.h"
#include "krn/thr/thr.h"
#include "tests/base/dptrc/trace_fixture.h"
#include "tests/support/stream_capture.h"

#include <cerrno>
#include <chrono>
#include <cwchar>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";
constexpr std::wint_t kNoCharacter = 0x4E00;  // in the "C" locale

class TraceLine : public test::TraceFixture {
protected:
    static std::string stamped(const std::string& text) { return tagged(test::kStamp + text); }
};

TEST_F(TraceLine, CarriesTheThreadsNumber) {
    open("3");
    TRACE(3, "VorakInitialize was called.\n");
    EXPECT_EQ(written(), stamped("@VorakInitialize was called.\n"));
}

TEST_F(TraceLine, AThreadWithoutNumberHasQuestionMarks) {
    EXPECT_STREQ(threadTag(kThrNoId).text, "[Thr ???] ");
    EXPECT_STREQ(threadTag(7).text, "[Thr  7] ");
    EXPECT_STREQ(threadTag(42).text, "[Thr 42] ");
    EXPECT_STREQ(threadTag(18446744073709551614u).text, "[Thr 18446744073709551614] ");
    EXPECT_EQ(threadTag(42).length, 9u);
}

TEST_F(TraceLine, IsWrittenAtItsLevelAndAbove) {
    open("2");
    TRACE(0, "zero\n");
    TRACE(1, "one\n");
    TRACE(2, "two\n");
    TRACE(3, "three\n");
    EXPECT_EQ(written(), stamped("@zero\n@one\n@two\n"));
}

TEST_F(TraceLine, BelowItsLevelTheArgumentsAreNotEvaluated) {
    open("2");
    int evaluated = 0;
    TRACE(3, "%d\n", ++evaluated);
    traceSetLevel("0");
    TRACE_ERROR("%d\n", ++evaluated);
    TRACE_WARNING("%d\n", ++evaluated);
    TRACE_FILE(1, "%d\n", ++evaluated);
    TRACE_FILE_ERROR("%d\n", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

TEST_F(TraceLine, WithoutPercentTheTextStandsAsItIs) {
    open("1");
    const std::string text = "no arguments\n";
    DpTrc(stream(), text.c_str(), 5);
    EXPECT_EQ(written(), tagged("\n" + std::string(test::kStamp) + "@no arguments\n"));
}

TEST_F(TraceLine, AMessageOfSeveralLinesHasTheTagOnEach) {
    open("3");
    TRACE(3, "one\ntwo %d\n\nfour\n", 2);
    TRACE(3, "a\r\nb\r\n");
    TRACE(3, "x\n\r");
    TRACE(3, "y\n");
    EXPECT_EQ(written(), stamped("@one\n@two 2\n@\n@four\n@a\r\n@b\r\n@x\n\r@y\n"));
}

TEST_F(TraceLine, WithoutANewlineTheNextMessageContinuesTheLine) {
    open("3");
    TRACE(3, "begin \n ");
    TRACE(3, "end\n");
    EXPECT_EQ(written(), stamped("@begin \n@ @end\n"));
}

TEST_F(TraceLine, ANullStreamIsTheStandardError) {
    const test::StreamCapture capture(stderr);
    DpTrc(nullptr, "to the standard error\n");
    DpTrcSetLocation("a", 1);
    DpTrcError(nullptr, "error\n");
    EXPECT_EQ(capture.text(), stamped("@to the standard error\n@*** ERROR => error [a            1]\n"));
}

TEST_F(TraceLine, LinesForTheFileGoToTheStandardErrorWithoutOne) {
    const test::StreamCapture capture(stderr);
    traceSetLevel("2");
    traceSetTarget("stdout");
    TRACE_FILE(3, "three\n");
    TRACE_FILE(2, "two\n");
    TRACE_FILE_ERROR_AT(17, "one\n");
    EXPECT_EQ(capture.text(), stamped("@two\n@*** ERROR => one [ssoxxext     17]\n"));
}

TEST_F(TraceLine, LinesForTheFileGoToTheFile) {
    open("2");
    TRACE_FILE(2, "two\n");
    EXPECT_EQ(written(), stamped("@two\n"));
}

TEST_F(TraceLine, ALineIsDroppedWhenTheTargetWentAwayMeanwhile) {
    const test::StreamCapture capture(stderr);
    open("3");
    // The level check has passed and the lock is not yet taken when another thread ends the trace.
    DpTrcLock();
    std::vector<std::thread> writers;
    writers.emplace_back([] { TRACE(3, "lost\n"); });
    writers.emplace_back([] { TRACE_ERROR("lost\n"); });
    writers.emplace_back([] { DpTrcHexDump("lost", 4); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    traceSetTarget(nullptr);
    DpTrcUnlock();
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(written(), "");
    EXPECT_EQ(capture.text(), "");
}

// --- Error and warning lines ---------------------------------------------------------------------------------------

TEST_F(TraceLine, AnErrorLineEndsWithItsPosition) {
    open("3");
    TRACE_ERROR_AT(123, "failed %d\n", 9);
    TRACE_ERROR_AT(45678, "no newline");
    EXPECT_EQ(written(), stamped("@*** ERROR => failed 9 [ssoxxext     123]\n"
                                 "@*** ERROR => no newline [ssoxxext     45678]\n"));
}

TEST_F(TraceLine, AnErrorLineCitesItsOwnLine) {
    open("3");
    const int line = __LINE__ + 1;
    TRACE_ERROR("here");
    TRACE_WARNING("there\n");
    EXPECT_EQ(written(), stamped("@*** ERROR => here [ssoxxext     " + std::to_string(line) +
                                 "]\n@*** WARNING => there [ssoxxext     " + std::to_string(line + 1) + "]\n"));
}

TEST_F(TraceLine, OnlyOneNewlineIsDropped) {
    open("3");
    TRACE_ERROR_AT(1, "two\n\n");
    EXPECT_EQ(written(), stamped("@*** ERROR => two\n [ssoxxext     1]\n"));
}

TEST_F(TraceLine, ThePositionIsTwelveColumnsAndFiveDigits) {
    open("3");
    struct Row {
        const char* path;
        int line;
        const char* shown;
    };
    const Row rows[] = {
        {"dlnt", 1, "[dlnt         1]"},
        {"a/b\\c", 2, "[c            2]"},
        {"a\\b/c", 3, "[c            3]"},
        {"x/exactlytwelv", 12345, "[exactlytwelv 12345]"},
        {"x/abcdefghijklmnop", 1234567, "[abcdefghijkl 12345]"},
        {"ends/", 4, "[             4]"},
    };
    std::string expected;
    for (const Row& row : rows) {
        DpTrcSetLocation(row.path, row.line);
        DpTrcError(stream(), "e\n");
        expected += std::string("@*** ERROR => e ") + row.shown + "\n";
    }
    EXPECT_EQ(written(), stamped(expected));
}

TEST_F(TraceLine, WithoutAPositionItsPlaceIsBlank) {
    open("3");
    DpTrcError(stream(), "e\n");
    EXPECT_EQ(written(), stamped("@*** ERROR => e [             ]\n"));
}

TEST_F(TraceLine, AnErrorFormatOfMoreThan1024CharactersIsCut) {
    open("3");
    const std::string exact = std::string(1022, 'x') + "%d";
    const std::string longer = std::string(1023, 'y') + "%d and more\n";
    DpTrcSetLocation(kTraceUnit, 1);
    DpTrcError(stream(), exact.c_str(), 5);
    DpTrcError(stream(), longer.c_str(), 5);
    EXPECT_EQ(written(), stamped("@*** ERROR => " + std::string(1022, 'x') + "5 [ssoxxext     1]\n" +
                                 "*** ERROR => Dptrc fmt string truncated\n" + "@*** ERROR => " +
                                 std::string(1023, 'y') + " [ssoxxext     1]\n"));
}

// --- What does not fit, and what cannot be formatted
// ------------------------------------------------------------------

TEST_F(TraceLine, AnOverlongMessageIsCutAtTheBufferAndMarked) {
    open("3");
    const std::string text(9000, 'x');
    const std::size_t room = 8191 - tagged("@").size();
    TRACE(3, "%s", text.c_str());
    DpTrc(stream(), text.c_str(), 0);
    const std::string cut = "@" + text.substr(0, room) + "\n*** WARNING => data was truncated\n";
    EXPECT_EQ(written(), stamped(cut + cut));
}

TEST_F(TraceLine, AMessageThatJustFitsIsNotMarked) {
    open("3");
    const std::string text(8191 - tagged("@").size(), 'x');
    TRACE(3, "%s", text.c_str());
    TRACE(3, "%sx", text.c_str());
    EXPECT_EQ(written(), stamped("@" + text + "@" + text + "\n*** WARNING => data was truncated\n"));
}

TEST_F(TraceLine, AMessageMayBeEmpty) {
    open("3");
    TRACE(3, "%s", "");
    TRACE(3, "%s\n", "");
    EXPECT_EQ(written(), stamped("@@\n"));
}

TEST_F(TraceLine, AnOverlongErrorKeepsItsPositionAndIsMarked) {
    open("3");
    const std::string text(9000, 'x');
    TRACE_ERROR_AT(12345, "%s\n", text.c_str());
    const std::string begin = "@*** ERROR => ";
    const std::string end = " [ssoxxext     12345]\n";
    const std::size_t room = 8190 - tagged(begin).size() - end.size();
    EXPECT_EQ(written(), stamped(begin + text.substr(0, room) + end + "\n*** WARNING => data was truncated\n"));
}

TEST_F(TraceLine, AFormatFailureIsReportedAndTheMessageDropped) {
    char room[8];
    if (std::snprintf(room, sizeof room, "%lc", kNoCharacter) >= 0) {
        GTEST_SKIP() << "this C runtime has a form for every character";
    }
    open("3");
    TRACE(3, "%lc\n", kNoCharacter);
    TRACE_ERROR("%lc\n", kNoCharacter);
    const std::string number = std::to_string(EILSEQ);
    EXPECT_EQ(written(), stamped("*** ERROR => vsnprintfU err, errno=" + number + " [base/dptrc/dptrace 2871]\n" +
                                 "*** ERROR => vsnprintfU err, errno=" + number + " [base/dptrc/dptrace 3274]\n"));
}

// --- Time stamps ---------------------------------------------------------------------------------------------------

TEST_F(TraceLine, TwoLinesWithinOneSecondHaveOneStamp) {
    open("2");
    TRACE(2, "one\n");
    now += 999;
    TRACE(2, "two\n");
    now += 1;
    TRACE(2, "three\n");
    EXPECT_EQ(written(), stamped("@one\n@two\n@Fri Nov  6 08:08:10 2026\n@three\n"));
}

TEST_F(TraceLine, FortyRequestsWithinOneSecondGiveASecondStamp) {
    open("2");
    TRACE(2, "first\n");
    std::string expected = "@first\n";
    for (int request = 1; request <= 40; ++request) {
        TRACE_ERROR_AT(1, "more\n");
        expected += request == 40 ? test::kStamp : "";
        expected += "@*** ERROR => more [ssoxxext     1]\n";
    }
    EXPECT_EQ(written(), stamped(expected));
}

TEST_F(TraceLine, AtLevelOneAnEmptyLinePrecedesEachStamp) {
    open("1");
    TRACE(1, "one\n");
    now += 1000;
    TRACE_ERROR_AT(1, "two\n");
    EXPECT_EQ(written(), "\n" + stamped("@one\n\n@Fri Nov  6 08:08:10 2026\n@*** ERROR => two [ssoxxext     1]\n"));
}

TEST_F(TraceLine, EachOpenMakesAStampDue) {
    open("2");
    TRACE(2, "one\n");
    open("2");
    TRACE(2, "two\n");
    EXPECT_EQ(written(), stamped("@two\n"));
}

TEST_F(TraceLine, ATimeThatHasNoTextIsReportedInItsPlace) {
    open("2");
    now = std::int64_t{400000000000} * 1000;  // some year of five digits
    TRACE(2, "far\n");
    EXPECT_EQ(written(), tagged("@ERROR IN THRASCTIME\n@far\n"));
}

TEST_F(TraceLine, TheCallersErrorNumberSurvives) {
    open("1");
    errno = 4711;
    TRACE(1, "one %d\n", 1);
    TRACE_ERROR("two\n");
    TRACE(1, "%lc\n", kNoCharacter);
    EXPECT_EQ(errno, 4711);
    traceSetLevel("3");
    DpTrcHexDump("abc", 3);
    EXPECT_EQ(errno, 4711);
}

}  // namespace
}  // namespace quorvanti

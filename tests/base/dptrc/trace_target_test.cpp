// Choosing the target and the level; opening and closing.
#include "tests/base/dptrc/trace_fixture.h"
#include "tests/support/stream_capture.h"

#include <filesystem>

namespace quorvanti {
namespace {

using test::readText;
using test::StreamCapture;

std::string header(const std::string& name, int level) {
    return "\n---------------------------------------------------\ntrc file: \"" + name +
           "\", trc level: " + std::to_string(level) +
           ", release: \"742\"\n---------------------------------------------------\n";
}

class TraceTarget : public test::TraceFixture {};

TEST_F(TraceTarget, NothingIsTracedBeforeATargetIsSet) {
    EXPECT_EQ(stream(), nullptr);
    EXPECT_EQ(traceState().requestedLevel, -1);
    EXPECT_EQ(traceState().level, 0);
    EXPECT_FALSE(traceEnabled(0));
}

TEST_F(TraceTarget, LevelThenFileStartsTheFileWithItsHeader) {
    traceSetLevel("2");
    traceSetTarget(name().c_str());
    EXPECT_EQ(all(), header("trace", 2));
    EXPECT_EQ(traceState().file.load(), stream());
    EXPECT_EQ(traceState().fileName, name());
}

TEST_F(TraceTarget, TheHeaderShowsTheBaseNameBehindEitherSlash) {
    traceSetLevel("1");
    std::filesystem::create_directory(directory_.path() / "with");  // where the backslash separates names
    const std::string file = directory_.file("with\\back");
    traceSetTarget(file.c_str());
    EXPECT_EQ(readText(file), header("back", 1));
}

TEST_F(TraceTarget, WithoutALevelTheHeaderShowsMinusOneAndOnlyBannerLinesFollow) {
    traceSetTarget(name().c_str());
    EXPECT_EQ(traceState().level, -1);
    TRACE(1, "level 1\n");
    TRACE(3, "level 3\n");
    TRACE(0, "banner\n");
    EXPECT_EQ(all(), header("trace", -1) + tagged(std::string(test::kStamp) + "@banner\n"));
}

TEST_F(TraceTarget, TheThreeWordsAreRecognisedWhileNoFileIsRecorded) {
    traceSetTarget("stdout");
    EXPECT_EQ(stream(), stdout);
    traceSetTarget("stdout");
    EXPECT_EQ(stream(), stdout);
    traceSetTarget("stderr");
    EXPECT_EQ(stream(), stderr);
    traceSetTarget("tf");
    EXPECT_EQ(stream(), stdout) << "no trace file is open";
    EXPECT_EQ(traceState().file.load(), nullptr);
    EXPECT_STREQ(traceState().fileName, "");
}

TEST_F(TraceTarget, TfIsTheFileThatTheLibraryOpened) {
    std::FILE* const file = CTrcOpen(name().c_str(), 1);
    traceState().file = file;
    traceSetTarget("tf");
    EXPECT_EQ(stream(), file);
}

TEST_F(TraceTarget, OnceAFileIsRecordedTheWordsNameFiles) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    open("1");
    std::FILE* const first = stream();
    EXPECT_NE(first, nullptr);
    for (const char* word : {"stdout", "stderr", "tf"}) {
        traceSetTarget(word);
        EXPECT_EQ(readText(directory_.file(word)), header(word, 1));
        EXPECT_STREQ(traceState().fileName, word);
    }
    std::filesystem::current_path(before);
}

TEST_F(TraceTarget, OtherSpellingsOfTheWordsNameFiles) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    traceSetTarget("STDOUT");
    EXPECT_TRUE(std::filesystem::exists(directory_.file("STDOUT")));
    std::filesystem::current_path(before);
}

TEST_F(TraceTarget, AFileIsReplacedByAnother) {
    open("1");
    TRACE(1, "first\n");
    const std::string second = directory_.file("second");
    traceSetTarget(second.c_str());
    TRACE(1, "second\n");
    EXPECT_EQ(written(), tagged("\n" + std::string(test::kStamp) + "@first\n"));
    EXPECT_EQ(readText(second), header("second", 1) + tagged("\n" + std::string(test::kStamp) + "@second\n"));
    EXPECT_EQ(traceState().fileName, second);
}

TEST_F(TraceTarget, AFileOpenedAgainIsTruncated) {
    open("3");
    TRACE(1, "gone\n");
    traceSetTarget(traceState().fileName);  // the recorded name itself
    EXPECT_EQ(all(), header("trace", 3));
    EXPECT_EQ(traceState().fileName, name());
}

TEST_F(TraceTarget, NullEndsTheTraceAndTakesTheFileWithIt) {
    open("2");
    traceSetTarget(nullptr);
    EXPECT_EQ(stream(), nullptr);
    EXPECT_EQ(traceState().file.load(), nullptr);
    for (const char character : traceState().fileName) {
        ASSERT_EQ(character, '\0');
    }
    EXPECT_EQ(traceState().level, 2) << "the level stays";
    traceSetTarget("tf");
    EXPECT_EQ(stream(), stdout) << "a closed file is nobody's target";
}

TEST_F(TraceTarget, AFileThatIsNoLongerTheTargetIsClosedAndTheNextSetsTheLevelAgain) {
    open("2");
    const int descriptor = test::descriptorOf(stream());
    ASSERT_TRUE(test::isOpen(descriptor));
    traceSetTarget(nullptr);
    EXPECT_FALSE(test::isOpen(descriptor));
    traceSetLevel(nullptr);
    traceSetTarget(name().c_str());
    EXPECT_EQ(all(), header("trace", -1));
}

TEST_F(TraceTarget, ClosingTheStandardErrorEndsTheTraceOnly) {
    traceSetTarget("stderr");
    EXPECT_EQ(CTrcCloseStream(), 0);
    EXPECT_EQ(stream(), nullptr);
    EXPECT_TRUE(test::isOpen(test::descriptorOf(stderr)));
}

TEST_F(TraceTarget, StandardStreamsAreNotClosed) {
    for (const char* word : {"stdout", "stderr"}) {
        traceSetTarget(word);
        std::FILE* const standard = stream();
        traceSetTarget(nullptr);
        EXPECT_EQ(stream(), nullptr);
        EXPECT_TRUE(test::isOpen(test::descriptorOf(standard)));
    }
}

TEST_F(TraceTarget, ALongNameIsRecordedCut) {
    const StreamCapture capture(stderr);
    const std::string longName(5000, 'n');
    traceSetTarget(longName.c_str());
    EXPECT_EQ(traceState().fileName, std::string(4095, 'n'));
}

TEST_F(TraceTarget, ARequestedLevelBeyondThreeOpensWithOne) {
    traceState().requestedLevel = 4;
    traceSetTarget(name().c_str());
    EXPECT_EQ(all(), header("trace", 1));
}

TEST_F(TraceTarget, OnlyTheFirstCharacterOfALevelCounts) {
    struct Row {
        const char* value;
        std::int32_t level;
    };
    const Row rows[] = {{"0", 0},  {"1", 1}, {"2", 2}, {"3", 3}, {"10", 1},
                        {"31", 3}, {"x", 1}, {"4", 1}, {"7", 1}, {"-1", 1}};
    for (const Row& row : rows) {
        traceSetLevel(row.value);
        EXPECT_EQ(traceState().level, row.level) << row.value;
        EXPECT_EQ(traceState().requestedLevel, row.level) << row.value;
    }
}

TEST_F(TraceTarget, NoLevelUnsetsTheRequestAndTracesNothing) {
    for (const char* value : {static_cast<const char*>(nullptr), ""}) {
        traceSetLevel("3");
        traceSetLevel(value);
        EXPECT_EQ(traceState().level, 0);
        EXPECT_EQ(traceState().requestedLevel, -1);
    }
}

TEST_F(TraceTarget, ALevelChangesWhatAnOpenFileGets) {
    open("1");
    TRACE(2, "not yet\n");
    traceSetLevel("2");
    TRACE(2, "now\n");
    EXPECT_EQ(written(), tagged(std::string(test::kStamp) + "@now\n"));
}

TEST_F(TraceTarget, AFurtherOpenLeavesTheLevelAloneUntilTheFirstIsClosed) {
    std::FILE* const first = CTrcOpen(name().c_str(), 2);
    EXPECT_EQ(traceState().level, 2);
    const std::string second = directory_.file("second");
    std::FILE* const other = CTrcOpen(second.c_str(), 3);
    EXPECT_EQ(traceState().level, 2);
    EXPECT_EQ(readText(second), header("second", 2));
    traceState().stream = other;
    EXPECT_EQ(CTrcCloseStream(), 0);
    std::FILE* const third = CTrcOpen(second.c_str(), 3);
    EXPECT_EQ(traceState().level, 2) << "the first is still open";
    traceState().stream = first;
    EXPECT_EQ(CTrcCloseStream(), 0);
    EXPECT_EQ(stream(), nullptr);
    traceState().stream = third;
    EXPECT_EQ(CTrcCloseStream(), 0);
    std::FILE* const fourth = CTrcOpen(second.c_str(), 3);
    EXPECT_EQ(traceState().level, 3);
    traceState().stream = fourth;
    EXPECT_EQ(CTrcCloseStream(), 0);
}

TEST_F(TraceTarget, ClosingTakesTheFileWithIt) {
    open("1");
    EXPECT_EQ(CTrcCloseStream(), 0);
    EXPECT_EQ(stream(), nullptr);
    EXPECT_EQ(traceState().file.load(), nullptr);
    EXPECT_EQ(CTrcCloseStream(), 0) << "with nothing to close";
}

TEST_F(TraceTarget, NoNameOpensTheStandardErrorWithoutHeader) {
    const StreamCapture capture(stderr);
    EXPECT_EQ(CTrcOpen(nullptr, 3), stderr);
    EXPECT_EQ(traceState().level, 3);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(TraceTarget, TheFileIsNotInheritedByChildProcesses) {
    open("1");
    EXPECT_FALSE(test::childProcessesInherit(test::descriptorOf(stream())));
}

}  // namespace
}  // namespace quorvanti

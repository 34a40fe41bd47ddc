// Patterns that are looked for in what is written.
#include "base/dptrc/trace_watch.h"
#include "tests/base/dptrc/trace_fixture.h"
#include "tests/support/allocation_failure.h"

#include <string>
#include <utility>
#include <vector>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

TEST(TraceMatches, SearchesThePatternAnywhere) {
    EXPECT_TRUE(traceMatches("needle", "a needle in hay"));
    EXPECT_TRUE(traceMatches("a", "a"));
    EXPECT_TRUE(traceMatches("hay", "a needle in hay"));
    EXPECT_FALSE(traceMatches("needles", "a needle in hay"));
    EXPECT_FALSE(traceMatches("Needle", "a needle in hay"));
}

TEST(TraceMatches, EmptyPatternsAndTexts) {
    EXPECT_TRUE(traceMatches("", ""));
    EXPECT_TRUE(traceMatches("", "abc"));
    EXPECT_TRUE(traceMatches("*", ""));
    EXPECT_FALSE(traceMatches("?", ""));
    EXPECT_FALSE(traceMatches("a", ""));
}

TEST(TraceMatches, AStarIsAnyRun) {
    EXPECT_TRUE(traceMatches("n*e", "needle"));
    EXPECT_TRUE(traceMatches("n*dle", "needle"));
    EXPECT_TRUE(traceMatches("n**e", "ne"));
    EXPECT_TRUE(traceMatches("a*b*c", "xaxbxbxcx"));
    EXPECT_FALSE(traceMatches("a*b*c", "xcxbxax"));
    EXPECT_TRUE(traceMatches("ab*", "xab"));
}

TEST(TraceMatches, AQuestionMarkIsOneCharacter) {
    EXPECT_TRUE(traceMatches("n??d", "needle"));
    EXPECT_FALSE(traceMatches("n???d", "needle"));
    EXPECT_FALSE(traceMatches("e?", "e"));
}

TEST(TraceMatches, ABackslashMakesTheNextCharacterLiteral) {
    EXPECT_TRUE(traceMatches("\\*\\*\\* ERROR", "[Thr 1] *** ERROR => x"));
    EXPECT_FALSE(traceMatches("\\*", "abc"));
    EXPECT_TRUE(traceMatches("\\?", "what?"));
    EXPECT_FALSE(traceMatches("\\?", "what"));
    EXPECT_TRUE(traceMatches("\\\\", "a\\b"));
    EXPECT_TRUE(traceMatches("\\a", "abc"));
    EXPECT_TRUE(traceMatches("b\\", "ab\\")) << "a backslash at the end stands for itself";
}

TEST(TraceMatches, ManyStarsEndInTime) {
    const std::string text(8000, 'a');
    EXPECT_FALSE(traceMatches("*a*a*a*a*a*a*a*a*a*a*b", text.c_str()));
}

std::vector<std::pair<std::FILE*, std::string>> found;
void remember(std::FILE* stream, const char* pattern) {
    found.emplace_back(stream, pattern);
}

class TraceWatch : public test::TraceFixture {
protected:
    TraceWatch() { found.clear(); }
    ~TraceWatch() override { traceUnwatchAll(); }
};

TEST_F(TraceWatch, ReportsAMatchInTheTraceAndToItsCallback) {
    open("3");
    ASSERT_TRUE(traceWatch("sec?nd", &remember));
    ASSERT_TRUE(traceWatch("never", &remember));
    TRACE(3, "first\n");
    TRACE(3, "second\n");
    TRACE_ERROR_AT(1, "second error\n");
    EXPECT_EQ(written(), tagged(std::string(test::kStamp) +
                                "@first\n@second\n\nDpTrc: found match for pattern >sec?nd< in output\n"
                                "@*** ERROR => second error [ssoxxext     1]\n"
                                "\nDpTrc: found match for pattern >sec?nd< in output\n"));
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].first, stream());
    EXPECT_EQ(found[0].second, "sec?nd");
}

TEST_F(TraceWatch, SearchesAMessageToItsEndOnly) {
    open("3");
    ASSERT_TRUE(traceWatch("tail", &remember));
    TRACE(3, "a long message with a tail\n");
    TRACE(3, "short\n");
    EXPECT_EQ(found.size(), 1u);
}

TEST_F(TraceWatch, WhatACallbackTracesIsNotSearchedAgain) {
    open("3");
    const TraceWatchCallback tracing = [](std::FILE* stream, const char*) { DpTrc(stream, "about apples\n"); };
    ASSERT_TRUE(traceWatch("apples", tracing));
    ASSERT_TRUE(traceWatch("pears", &remember));
    TRACE(3, "apples and pears\n");
    EXPECT_EQ(written(), tagged(std::string(test::kStamp) +
                                "@apples and pears\n\nDpTrc: found match for pattern >apples< in output\n"
                                "@about apples\n\nDpTrc: found match for pattern >pears< in output\n"));
    EXPECT_EQ(found.size(), 1u);
}

TEST_F(TraceWatch, NothingIsReportedAfterwards) {
    open("3");
    ASSERT_TRUE(traceWatch("x", &remember));
    traceUnwatchAll();
    TRACE(3, "x\n");
    EXPECT_TRUE(found.empty());
}

TEST_F(TraceWatch, APatternIsNotAddedWhenMemoryIsShort) {
    traceUnwatchAll();
    const test::AllocationFailure failure;
    EXPECT_FALSE(traceWatch("x", &remember));
}

}  // namespace
}  // namespace quorvanti

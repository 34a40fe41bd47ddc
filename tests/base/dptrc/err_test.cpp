// The per-thread error record.
#include "base/dptrc/err.h"

#include "base/dptrc/dptrace.h"
#include "krn/thr/thr_platform.h"
#include "krn/time/local_time.h"
#include "tests/base/dptrc/trace_fixture.h"
#include "tests/support/allocation_failure.h"

#include <array>
#include <string>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

using Texts = std::vector<std::string>;

// The stored record as texts.
Texts stored() {
    const std::string packed = errPackedRecord();
    Texts texts;
    for (std::size_t begin = 0; begin < packed.size();) {
        const std::size_t end = packed.find('\0', begin);
        texts.push_back(packed.substr(begin, end - begin));
        begin = end + 1;
    }
    return texts;
}

enum Index {
    kError = 2,
    kReturnCode = 3,
    kVersion = 6,
    kModule = 7,
    kLine = 8,
    kDetail = 9,
    kTime = 10,
    kCounter = 14,
    kTextNumber = 16,
    kTextArguments = 17,
    kDetailNumber = 18,
    kDetailArguments = 19
};

class ErrorRecord : public test::TraceFixture {};

TEST_F(ErrorRecord, IsEmptyBeforeTheFirstError) {
    EXPECT_EQ(errPackedRecord(), "");
}

TEST_F(ErrorRecord, IsPackedAsTwentyOneTexts) {
    ASSERT_EQ(ErrSetInfo("DL (Dynamic Loader)", 4, "krn/dl/dlnt", 123, "load %s", -2, "detail %d", "lib", 7), 0);
    EXPECT_EQ(stored(), Texts({"*ERR*",
                               "1",
                               "load lib",
                               "-2",
                               "DL (Dynamic Loader)",
                               "742",
                               "4",
                               "krn/dl/dlnt",
                               "123",
                               "detail 7",
                               "Fri Nov  6 08:08:09 2026",
                               "",
                               "",
                               "",
                               "1",
                               "",
                               "",
                               "",
                               "",
                               "",
                               "*ERR*"}));
}

TEST_F(ErrorRecord, NumbersThatAreZeroAndTextsThatAreMissingAreEmpty) {
    ASSERT_EQ(ErrSetInfo(nullptr, 0, nullptr, 0, nullptr, 0, nullptr), 0);
    EXPECT_EQ(stored(), Texts({"*ERR*", "1", "", "",  "", "742", "", "", "", "",     "Fri Nov  6 08:08:09 2026",
                               "",      "",  "", "1", "", "",    "", "", "", "*ERR*"}));
}

TEST_F(ErrorRecord, CountsTheErrorsOfItsThread) {
    for (const char* count : {"1", "2", "3"}) {
        ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "t", 1, "d"), 0);
        EXPECT_EQ(stored()[kCounter], count);
    }
    Texts others;
    std::thread([&] {
        EXPECT_EQ(errPackedRecord(), "");
        ErrSetInfo("c", 1, "m", 1, "other", 1, "d");
        others = stored();
    }).join();
    EXPECT_EQ(others[kCounter], "1");
    EXPECT_EQ(others[kError], "other");
    EXPECT_EQ(stored()[kError], "t");
}

TEST_F(ErrorRecord, TakesMessageNumbersOfFiveCharactersFromTextAndDetail) {
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "(AB123)text %d of %s", 1, "(00042)detail %5.1f|%%|%x", 1, "two", 2.5, 255),
              0);
    const Texts texts = stored();
    EXPECT_EQ(texts[kError], "text 1 of two");
    EXPECT_EQ(texts[kDetail], "detail   2.5|%|ff");
    EXPECT_EQ(texts[kTextNumber], "AB123");
    EXPECT_EQ(texts[kTextArguments], "1;;;;two");
    EXPECT_EQ(texts[kDetailNumber], "00042");
    EXPECT_EQ(texts[kDetailArguments], "  2.5;;;;ff");
}

TEST_F(ErrorRecord, ArgumentsAreKeptOnlyBesideANumber) {
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "text %d", 1, "(00042)detail %d", 1, 2), 0);
    EXPECT_EQ(stored()[kTextNumber], "");
    EXPECT_EQ(stored()[kTextArguments], "");
    EXPECT_EQ(stored()[kDetailNumber], "00042");
    EXPECT_EQ(stored()[kDetailArguments], "2");
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "(00042)text %d", 1, "detail %d", 1, 2), 0);
    EXPECT_EQ(stored()[kTextArguments], "1");
    EXPECT_EQ(stored()[kDetailArguments], "");
}

TEST_F(ErrorRecord, ParenthesesOfAnotherFormAreText) {
    for (const char* text : {"(1234)t", "(123456)t", "(12345", "12345)t", "(", ""}) {
        ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, text, 1, text), 0);
        EXPECT_EQ(stored()[kError], text);
        EXPECT_EQ(stored()[kDetail], text);
        EXPECT_EQ(stored()[kTextNumber], "");
        EXPECT_EQ(stored()[kDetailNumber], "");
    }
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "(12345)", 1, "d"), 0);
    EXPECT_EQ(stored()[kError], "");
    EXPECT_EQ(stored()[kTextNumber], "12345");
}

TEST_F(ErrorRecord, ADoubledPercentOfTheDetailIsOneInTheRecord) {
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "t", 1, "100%% of it"), 0);
    EXPECT_EQ(stored()[kDetail], "100% of it");
}

// The fields that fits() leaves over: "1" return code, "c", "742", "1" version, "m", "1" line, 24 of time, "1" counter.
constexpr std::size_t kOthers = 1 + 1 + 3 + 1 + 1 + 1 + 24 + 1;
constexpr std::size_t kRoom = 500 - 35 - kOthers;

TEST_F(ErrorRecord, FitsWhenItsTextsAndThirtyFiveAreFiveHundred) {
    const std::string text(200, 't');
    const std::string detail(kRoom - text.size(), 'd');
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, text.c_str(), 1, detail.c_str()), 0);
    EXPECT_EQ(stored()[kError], text);
    EXPECT_EQ(stored()[kDetail], detail);
    EXPECT_EQ(errPackedRecord().size(), 497u);
}

TEST_F(ErrorRecord, OneCharacterMoreIsTooLargeAndIsTraced) {
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "before", 1, "d"), 0);
    open("2");
    const std::string text = "(12345)" + std::string(195, 't') + "%d";
    const std::string detail(kRoom - 195 - 5 - 1 - 1 + 1, 'd');
    EXPECT_EQ(ErrSetInfo("c", 1, "m", 1, text.c_str(), 1, detail.c_str(), 8), -1);
    EXPECT_EQ(errPackedRecord(), "") << "nothing stale is left";
    EXPECT_EQ(written(), tagged(std::string(test::kStamp) +
                                "@*** ERROR => ErrISetSys: error info too large [err          900]\n"
                                "@Fri Nov  6 08:08:09 2026\n"
                                "@LOCATION    \n"
                                "@ERROR       " +
                                std::string(195, 't') +
                                "8\n"
                                "@TIME        Fri Nov  6 08:08:09 2026\n"
                                "@RELEASE     742\n"
                                "@COMPONENT   c\n"
                                "@VERSION     1\n"
                                "@RC          1\n"
                                "@MODULE      m\n"
                                "@LINE        1\n"
                                "@DETAIL      " +
                                detail +
                                "\n"
                                "@SYSTEM CALL \n"
                                "@ERRNO       \n"
                                "@ERRNO TEXT  \n"
                                "@DESCR MSG NO12345\n"
                                "@DESCR VARGS 8\n"
                                "@DETAIL MSG N\n"
                                "@DETAIL VARGS\n"
                                "@COUNTER     2\n"));
}

TEST_F(ErrorRecord, BelowLevelOneATooLargeRecordIsNotTraced) {
    open("0");
    EXPECT_EQ(ErrSetInfo("c", 1, "m", 1, std::string(490, 't').c_str(), 1, "d"), -1);
    EXPECT_EQ(written(), "");
}

TEST_F(ErrorRecord, FiveHundredCharactersOfTextAndDetailCount) {
    open("1");
    const std::string text = std::string(499, 't') + "%d";
    const std::string detail(600, 'd');
    EXPECT_EQ(ErrSetInfo("c", 1, "m", 1, text.c_str(), 1, detail.c_str(), 8), -1);
    EXPECT_NE(written().find("] ERROR       " + std::string(499, 't') + "\n"), std::string::npos)
        << "a directive that the cut breaks is left out";
    EXPECT_NE(written().find("] DETAIL      " + std::string(500, 'd') + "\n"), std::string::npos);
}

TEST_F(ErrorRecord, TwoThousandBytesOfTheFormattedTextsAndArgumentsCount) {
    open("1");
    EXPECT_EQ(ErrSetInfo("c", 1, "m", 1, "(12345)%s", 1, "detail", std::string(3000, 'a').c_str()), -1);
    const std::string cut = std::string(1999, 'a') + "\n";
    EXPECT_NE(written().find("] ERROR       " + cut), std::string::npos);
    EXPECT_NE(written().find("] DESCR VARGS " + cut), std::string::npos);
    EXPECT_NE(written().find("] DETAIL      \n"), std::string::npos) << "nothing is left of what stands behind";
}

TEST_F(ErrorRecord, AsManyDirectivesAsATextHolds) {
    std::string text = "(12345)";
    std::string arguments;
    for (int count = 0; count < 8; ++count) {
        text += "%d";
        arguments += (count == 0 ? "" : ";;;;") + std::to_string(count);
    }
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, text.c_str(), 1, "%d", 0, 1, 2, 3, 4, 5, 6, 7, 8), 0);
    EXPECT_EQ(stored()[kError], "01234567");
    EXPECT_EQ(stored()[kTextArguments], arguments);
    EXPECT_EQ(stored()[kDetail], "8");
}

TEST_F(ErrorRecord, ATimeThatCannotBeHadIsReplaced) {
    setLocalTimeSource([](std::int64_t, std::tm& record) {
        record = {};
        record.tm_year = 8100;
        return true;
    });
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "t", 1, "d"), 0);
    EXPECT_EQ(stored()[kTime], "error in ThrAsctime");
    setLocalTimeSource([](std::int64_t, std::tm&) { return false; });
    ASSERT_EQ(ErrSetInfo("c", 1, "m", 1, "t", 1, "d"), 0);
    EXPECT_EQ(stored()[kTime], "error in ThrLocaltime");
    setLocalTimeSource(nullptr);
}

TEST_F(ErrorRecord, AnswersMinusFiveWithoutMemory) {
    // The thread's record, then its buffer.
    for (const int allowed : {0, 1}) {
        std::thread([&] {
            {
                const test::AllocationFailure failure(allowed);
                EXPECT_EQ(ErrSetInfo("c", 1, "m", 1, "t", 1, "d"), -5) << allowed;
            }
            EXPECT_EQ(errPackedRecord(), "");
            EXPECT_EQ(ErrSetInfo("c", 1, "m", 1, "t", 1, "d"), 0);
            EXPECT_EQ(stored()[kCounter], "1");
        }).join();
    }
}

TEST_F(ErrorRecord, AnswersMinusFiveWithoutAThreadKey) {
    ThrKey key = kThrNoKeyYet;
    while (threadKeyAllocate(key, nullptr)) {
    }
    EXPECT_EQ(ErrSetInfo("c", 1, "m", 1, "t", 1, "d"), -5);
    EXPECT_EQ(errPackedRecord(), "");
}

TEST_F(ErrorRecord, ThreadsRecordAtOnce) {
    std::array<std::string, 16> errors;
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < errors.size(); ++index) {
        threads.emplace_back([&errors, index] {
            for (int round = 0; round < 100; ++round) {
                ErrSetInfo("c", 1, "m", 1, "error %d", 1, "d", static_cast<int>(index));
            }
            errors[index] = stored()[kError] + " " + stored()[kCounter];
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t index = 0; index < errors.size(); ++index) {
        EXPECT_EQ(errors[index], "error " + std::to_string(index) + " 100");
    }
}

}  // namespace
}  // namespace quorvanti

#include "tests/sec/voraksso/engine_fixture.h"

#include "base/dptrc/dptrace.h"
#include "sec/kavsecu/kavsecu_set.h"
#include "sec/voraksso/build_facts.h"
#include "sec/voraksso/platform_facts.h"
#include "sec/voraksso/state.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

// The message with this last line goes on with a blank behind it, where the next message then begins.
bool followedByBlank(const TraceCapture& trace, const std::string& line) {
    const std::vector<std::string> lines = trace.lines();
    const auto found = std::find(lines.begin(), lines.end(), line);
    return found != lines.end() && found + 1 != lines.end() && (found + 1)->starts_with(" [Thr ");
}

class Initialize : public ::testing::Test {
protected:
    void TearDown() override {
        VorakShutdown();
        QuorvantiSetProperty("KAV_EXT_TRL", nullptr);
    }

    EnvironmentVariable variables_[5]{{"KAV_EXT_TRC", nullptr},
                                      {"KAV_EXT_TRL", nullptr},
                                      {"SSF_LIB", nullptr},
                                      {"SSF_HASH", nullptr},
                                      {"SSF_INCLUDE_CERT", nullptr}};
};

TEST_F(Initialize, TheVersionIs15BeforeAndAfterInitialization) {
    EXPECT_EQ(VorakGetVersion(), 15);
    const CryptoDouble crypto;
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    EXPECT_EQ(VorakGetVersion(), 15);
}

TEST_F(Initialize, WritesTheBannerWhateverTheLevel) {
    const CryptoDouble crypto;
    const TraceCapture trace(0);
    ASSERT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"    Initializing QUORVANTI Version 15 ",
                                        std::string("    Built at ") + kBuildDate + " " + kBuildTime +
                                            " using release 742, patch " + std::to_string(kPatch) + " ",
                                        std::string("    ") + kSystemName +
                                            " on multithread environment with (KAV_CHAR/size_t/void* = 8/64/64)",
                                        "    Initializing SSF Library Version ", "    Crypto double 1.0 "}));
}

TEST_F(Initialize, ASecondCallReturns0AtOnceAndWritesNoBanner) {
    CryptoDouble crypto;
    ASSERT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    const int calls = crypto.calls("kavcr_init");
    const TraceCapture trace(0);
    EXPECT_EQ(VorakInitialize("no-such-library"), VORAK_OK);
    EXPECT_TRUE(trace.lines().empty());
    EXPECT_EQ(crypto.calls("kavcr_init"), calls);
}

TEST_F(Initialize, ADefaultStartWritesNoErrorLine) {
    const CryptoDouble source("double_documented");
    const TraceCapture trace(1);
    ASSERT_EQ(VorakInitialize(source.path().c_str()), VORAK_OK);
    EXPECT_EQ(errorLines(trace), std::vector<std::string>{});
}

TEST_F(Initialize, ALibraryThatDoesNotExistYields14AndTwoLines) {
    const TraceCapture trace(1);
    EXPECT_EQ(VorakInitialize("./no-such-library.so"), VORAK_CRYPTO_FAILED);
    const std::vector<std::string> lines = errorLines(trace);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].starts_with("*** ERROR => DlLoadLib()==DLENOACCESS - ")) << lines[0];
    EXPECT_EQ(lines[1],
              "*** ERROR => SsfInit error SSF_SUP_NOLIB, couldn't load library ./no-such-library.so. [ssoxxext]");
    EXPECT_EQ(libraryState().initialized, 0);
}

TEST_F(Initialize, WithoutAnyDefaultLibraryTheProbeLeavesNoLine) {
    if (void* present = openSharedLibrary(kDefaultCryptoLibraries[0])) {
        closeSharedLibrary(present);
        GTEST_SKIP() << "this program finds a default crypto library beside itself";
    }
    const TraceCapture trace(2);
    EXPECT_EQ(VorakInitialize(nullptr), VORAK_CRYPTO_FAILED);
    const std::vector<std::string> lines = trace.lines();
    const std::string name = kDefaultCryptoLibraries[1];
    ASSERT_GE(lines.size(), 6u);
    const std::string choice =
        std::string("No SSF_LIB environment set use default: ") + kDefaultCryptoLibraries[0] + " ";
    EXPECT_EQ(lines[3], choice);
    EXPECT_TRUE(followedByBlank(trace, choice));
    EXPECT_TRUE(lines[4].find("*** ERROR => DlLoadLib()==DLENOACCESS - ") != std::string::npos) << lines[4];
    EXPECT_TRUE(lines[4].find(name) != std::string::npos);
    EXPECT_EQ(errorLines(trace), std::vector<std::string>{"*** ERROR => SsfInit error SSF_SUP_NOLIB, couldn't load " +
                                                          ("library " + name + ". [ssoxxext]")})
        << "the first line stands behind the blank, and there is no third";
}

TEST_F(Initialize, TheEnvironmentNamesTheLibraryWhenTheCallerDoesNot) {
    const CryptoDouble crypto;
    const EnvironmentVariable variable("SSF_LIB", crypto.path().c_str());
    const TraceCapture trace(2);
    EXPECT_EQ(VorakInitialize(""), VORAK_OK) << "an empty name is none";
    EXPECT_TRUE(followedByBlank(trace, "Use SSF_LIB = " + crypto.path() + " "));
}

TEST_F(Initialize, SaysItsStepsInOrder) {
    const CryptoDouble crypto;
    const EnvironmentVariable library("SSF_LIB", crypto.path().c_str());
    const EnvironmentVariable hash("SSF_HASH", "SHA256");
    const EnvironmentVariable certificate("SSF_INCLUDE_CERT", "1");
    const TemporaryDirectory directory;
    const std::string file = directory.file("trace");
    const EnvironmentVariable target("KAV_EXT_TRC", file.c_str());
    const EnvironmentVariable level("KAV_EXT_TRL", "3");
    ASSERT_EQ(VorakInitialize(nullptr), VORAK_OK);
    std::string text = readText(file);
    for (const char* step :
         {"trc level: 3, release: \"742\"\n", "Leave QuorvantiSetProperty\n", "VorakInitialize was called.\n",
          "    Initializing QUORVANTI Version 15 \n", "    Built at ", kSystemName,
          "Use SSF_LIB = ", "KavSecuInit(): FIPS 140-2 mode in libkavsecu is disabled\n",
          "    Initializing SSF Library Version \n", "    Crypto double 1.0 \n", "Set SSF_HASH from environment\n",
          "QuorvantiSetProperty(SSF_HASH,SHA256)\n", "Leave QuorvantiSetProperty\n",
          "Set SSF_INCLUDE_CERT from environment\n", "QuorvantiSetProperty(SSF_INCLUDE_CERT,1)\n",
          "Leave QuorvantiSetProperty\n", "Leave function VorakInitialize with rc = 0.\n"}) {
        const std::size_t at = text.find(step);
        ASSERT_NE(at, std::string::npos) << step << " in " << text;
        text.erase(0, at + std::strlen(step));
    }
    QuorvantiSetProperty("SSF_HASH", nullptr);
    QuorvantiSetProperty("SSF_INCLUDE_CERT", nullptr);
}

TEST_F(Initialize, TheChoiceOfTheLibraryIsNotSaidAtLevel1) {
    const TraceCapture trace(1);
    VorakInitialize(nullptr);
    VorakShutdown();
    const TraceCapture again(1);
    const CryptoDouble crypto;
    const EnvironmentVariable library("SSF_LIB", crypto.path().c_str());
    ASSERT_EQ(VorakInitialize(nullptr), VORAK_OK);
    EXPECT_FALSE(trace.contains("SSF_LIB"));
    EXPECT_EQ(again.lines().size(), 5u) << "the banner";
}

TEST_F(Initialize, ALibraryWithoutAVersionIsAcceptedAndNoneIsShown) {
    const CryptoDouble crypto("double_no_version");
    const TraceCapture trace(0);
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    EXPECT_EQ(trace.lines().size(), 3u);
}

TEST_F(Initialize, TheCallersLibraryComesBeforeTheEnvironments) {
    const CryptoDouble crypto;
    const EnvironmentVariable variable("SSF_LIB", "no-such-library");
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
}

TEST_F(Initialize, AnEmptyEnvironmentCountsAsNotSet) {
    const EnvironmentVariable library("SSF_LIB", "");
    const EnvironmentVariable target("KAV_EXT_TRC", "");
    const TraceCapture trace(2);
    VorakInitialize(nullptr);
    EXPECT_TRUE(trace.contains("No SSF_LIB environment set use default: "));
}

TEST_F(Initialize, TakesTheTraceFromTheEnvironmentLevelFirst) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("trace");
    const EnvironmentVariable target("KAV_EXT_TRC", file.c_str());
    const EnvironmentVariable level("KAV_EXT_TRL", "2");
    const CryptoDouble crypto;
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    EXPECT_TRUE(
        readText(file).starts_with("\n---------------------------------------------------\n"
                                   "trc file: \"trace\", trc level: 2, release: \"742\"\n"));
    VorakShutdown();
    EXPECT_EQ(traceState().stream.load(), nullptr) << "the shutdown closes the trace";
}

TEST_F(Initialize, TakesHashAndCertificateSwitchFromTheEnvironment) {
    const EnvironmentVariable hash("SSF_HASH", "SHA512");
    const EnvironmentVariable certificate("SSF_INCLUDE_CERT", "yes");
    const CryptoDouble crypto;
    const TraceCapture trace(3);
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    EXPECT_TRUE(hasLine(trace, "Set SSF_HASH from environment"));
    EXPECT_TRUE(hasLine(trace, "Set SSF_INCLUDE_CERT from environment"));
    EXPECT_TRUE(hasLine(trace, "Leave function VorakInitialize with rc = 0."));
    EXPECT_STREQ(libraryState().hashAlgorithm, "SHA512");
    EXPECT_STREQ(QuorvantiGetProperty("SSF_INCLUDE_CERT"), "1");
    QuorvantiSetProperty("SSF_HASH", nullptr);
    QuorvantiSetProperty("SSF_INCLUDE_CERT", nullptr);
}

TEST_F(Initialize, ALibraryWhoseStartFailsIsGivenBackAndALaterStartBeginsClean) {
    CryptoDouble crypto;
    crypto->functions["kavcr_init"].result = 4;
    {
        const TraceCapture trace(1);
        EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_CRYPTO_FAILED);
        EXPECT_EQ(errorLines(trace),
                  std::vector<std::string>{"*** ERROR => SsfInit error SSF_SUP_NOLIB, couldn't load library " +
                                           crypto.path() + ". [ssoxxext]"});
    }
    EXPECT_EQ(libraryState().cryptoTable.libraryHandle, -1);
    EXPECT_EQ(crypto.calls("kavcr_done"), 0) << "what did not start is not stopped";
    crypto->functions["kavcr_init"].result = 0;
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
}

TEST_F(Initialize, ALibraryWithoutSomeFunctionsIsAccepted) {
    const CryptoDouble crypto("double_no_init");
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
}

TEST_F(Initialize, ShutdownUnloadsAndALaterStartLoadsAgain) {
    CryptoDouble crypto;
    for (int round = 1; round <= 3; ++round) {
        EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
        EXPECT_EQ(crypto.calls("kavcr_init"), round);
        EXPECT_EQ(VorakShutdown(), VORAK_OK);
        EXPECT_EQ(crypto.calls("kavcr_done"), round);
        EXPECT_EQ(libraryState().initialized, 0);
        EXPECT_EQ(libraryState().cryptoTable.loaded, 0);
    }
}

TEST_F(Initialize, ShutdownWithoutAStartChangesNothingButTheTraceTarget) {
    QuorvantiSetProperty("SSF_HASH", "SHA256");
    const TemporaryDirectory directory;
    QuorvantiSetProperty("KAV_EXT_TRC", directory.file("trace").c_str());
    EXPECT_EQ(VorakShutdown(), VORAK_OK);
    EXPECT_EQ(traceState().stream.load(), nullptr);
    EXPECT_EQ(QuorvantiGetProperty("KAV_EXT_TRC"), nullptr);
    EXPECT_STREQ(QuorvantiGetProperty("SSF_HASH"), "SHA256");
    QuorvantiSetProperty("SSF_HASH", nullptr);
}

TEST_F(Initialize, PropertiesOutliveStartAndShutdown) {
    const CryptoDouble crypto;
    QuorvantiSetProperty("KAV_OWN_SYSID", "ABC");
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    EXPECT_STREQ(QuorvantiGetProperty("KAV_OWN_SYSID"), "ABC");
    VorakShutdown();
    EXPECT_STREQ(QuorvantiGetProperty("KAV_OWN_SYSID"), "ABC");
    QuorvantiSetProperty("KAV_OWN_SYSID", nullptr);
}

TEST_F(Initialize, ThirtyTwoThreadsStartTheLibraryOnceAndLoseNoLine) {
    constexpr int kThreads = 32;
    CryptoDouble crypto;
    const TemporaryDirectory directory;
    const std::string file = directory.file("trace");
    const EnvironmentVariable target("KAV_EXT_TRC", file.c_str());
    const EnvironmentVariable level("KAV_EXT_TRL", "3");
    std::atomic<bool> go{false};
    std::atomic<int> succeeded{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            while (!go) {
                std::this_thread::yield();
            }
            succeeded += VorakInitialize(crypto.path().c_str()) == VORAK_OK ? 1 : 0;
        });
    }
    go = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(succeeded, kThreads);
    EXPECT_EQ(crypto.calls("kavcr_init"), 1);
    const std::string text = readFile(file);
    const auto count = [&text](const std::string& part) {
        int found = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_EQ(count("VorakInitialize was called."), kThreads);
    EXPECT_EQ(count("Leave function VorakInitialize with rc = 0."), kThreads);
    EXPECT_EQ(count("Initializing QUORVANTI Version"), 1);
}

TEST_F(Initialize, HoldsItsLockWhileItLoadsTheLibrary) {
    CryptoDouble crypto;
    int calls = 0;
    int unlocked = 0;
    crypto->hooks.anyCall = [&](const char*) {
        ++calls;
        unlocked += libraryState().initLock.count == 1 ? 0 : 1;
    };
    ASSERT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    crypto->hooks.anyCall = nullptr;
    EXPECT_GT(calls, 0);
    EXPECT_EQ(unlocked, 0) << "another start could come between";
    EXPECT_EQ(libraryState().initLock.count, 0);
}

TEST_F(Initialize, ShutdownsBesideTheFirstStartsEndWell) {
    const CryptoDouble crypto;
    const std::string library = crypto.path();
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            while (!go) {
                std::this_thread::yield();
            }
            for (int round = 0; round < 25; ++round) {
                EXPECT_EQ(i % 2 == 0 ? VorakShutdown() : VorakInitialize(library.c_str()), VORAK_OK);
            }
        });
    }
    go = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(VorakInitialize(library.c_str()), VORAK_OK);
}

TEST_F(Initialize, EvaluationsBesideAShutdownEndWithACode) {
    const CryptoDouble crypto;
    ASSERT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    std::atomic<bool> stop{false};
    std::thread evaluator([&] {
        while (!stop) {
            TICKET_INFO info{};
            info.struct_size = sizeof info;
            VorakEvalTicket("AjExMDABAAR1c2Vy/wADc2ln", 24, &info);
        }
    });
    for (int round = 0; round < 50; ++round) {
        VorakShutdown();
        VorakInitialize(crypto.path().c_str());
    }
    stop = true;
    evaluator.join();
}

TEST(LockCounts, AnUnbalancedReleaseOfTheCryptoLockAbortsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EQ(ensureFrame(), kThrOk);
    EXPECT_DEATH(ThrRecMtxUnlock(libraryState().cryptoLock),
                 "ThrRecMtxUnlock: PANIC: #unlock > #lock, tag: \"QUORVANTI_SSF\"");
    EXPECT_DEATH(ThrCSUnlock(libraryState().propertyLock), "ThrCSUnlock: PANIC: #unlock > #lock, tag: \"not set\"");
}

}  // namespace
}  // namespace quorvanti

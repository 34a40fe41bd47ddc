#include "krn/rscp/converter_init.h"

#include "krn/rscp/converter_state.h"
#include "tests/krn/rscp/converter_fixture.h"
#include "tests/support/environment.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace quorvanti::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class ConverterInitTest : public ConverterTest {
protected:
    ConverterInitTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// Text to the standard error of a process with the library's own surroundings.
class ConverterDefaultHooksTest : public ConverterInitTest {
protected:
    ConverterDefaultHooksTest() { setConverterHooks(nullptr); }
};

class WorkingDirectory {
public:
    explicit WorkingDirectory(const std::filesystem::path& path) : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(before_); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
    std::filesystem::path before_;
};

constexpr const char* kTrapText = "See KAV note 7700103.\nAbort in rscpi_init_just_in_case.\n";

TEST_F(ConverterInitTest, FirstInitializationSaysWhatItDoesAndTheSecondNothing) {
    EXPECT_EQ(rscpState(), RscpState::fresh);
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_THAT(log(), ElementsAre("Impromptu CCC initialization by 'rscpCInit'.", "  See KAV note 7700103.",
                                   "Semaphore initialization step 1 done.", "Semaphore initialization step 2 done.",
                                   "CCC cache initialized with 6000000 bytes.", "CCC in initialized state."));
    EXPECT_EQ(rscpState(), RscpState::initialized);
    log().clear();
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(ConverterDefaultHooksTest, LinesGoToStandardError) {
    EXPECT_EXIT(
        std::exit(rscpCInit()), testing::ExitedWithCode(0),
        "Impromptu CCC initialization by 'rscpCInit'.\n  See KAV note 7700103.\nSemaphore initialization step 1 "
        "done.\nSemaphore initialization step 2 done.\nCCC cache initialized with 6000000 bytes.\nCCC in "
        "initialized state.\n");
}

TEST_F(ConverterDefaultHooksTest, SurroundingsAnswerAsFixed) {
    const ConverterHooks& hooks = defaultConverterHooks;
    char codePage[4];
    char language = '\0';
    EXPECT_EQ(hooks.profileParameter("rsts/ccc/cachesize"), nullptr);
    EXPECT_EQ(hooks.defaultCodePage(codePage), 128);
    EXPECT_EQ(std::string(codePage, 4), "1100");
    EXPECT_EQ(hooks.currentLanguage(&language), 128);
    EXPECT_EQ(language, 'E');
    EXPECT_EQ(hooks.currentCodePage(codePage), 128);
    EXPECT_EQ(std::string(codePage, 4), "0000");
    EXPECT_EQ(hooks.semaphoreStep1(), 0);
    EXPECT_EQ(hooks.semaphoreStep2(), 0);
    EXPECT_EQ(hooks.traceLine, nullptr);
}

TEST_F(ConverterInitTest, ZeroInTheEnvironmentSilencesIt) {
    const EnvironmentVariable trap("RSCP_CATCH_INIT", "0");
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_EQ(rscpState(), RscpState::initialized);
}

TEST_F(ConverterDefaultHooksTest, LetterAInTheEnvironmentAborts) {
    for (const char* value : {"A", "a", "abort"}) {
        const EnvironmentVariable trap("RSCP_CATCH_INIT", value);
        EXPECT_DEATH(rscpCInit(), std::string("Impromptu CCC initialization by 'rscpCInit'.\n.*\n") + kTrapText);
    }
}

TEST_F(ConverterDefaultHooksTest, OtherValuesInTheEnvironmentTrapNothing) {
    for (const char* value : {"", "x", "1"}) {
        const EnvironmentVariable trap("RSCP_CATCH_INIT", value);
        EXPECT_EXIT(std::exit(rscpCInit()), testing::ExitedWithCode(0), "Impromptu CCC initialization");
    }
}

// Ends with 3 when the abort came and the file was gone by then.
[[noreturn]] void initializeInTrap() {
    const TemporaryDirectory directory;
    const WorkingDirectory there(directory.path());
    writeFile("RSCP_CATCH_INIT", "");
    std::signal(SIGABRT, [](int) { std::_Exit(std::filesystem::exists("RSCP_CATCH_INIT") ? 2 : 3); });
    rscpCInit();
    std::_Exit(4);
}

TEST_F(ConverterDefaultHooksTest, TrapFileAbortsOnceAndIsGone) {
    EXPECT_EXIT(initializeInTrap(), testing::ExitedWithCode(3), kTrapText);
}

TEST_F(ConverterInitTest, ForgottenInitializationIsMadeUpForByActivation) {
    rscpCObj_t object = makeObject("1100", "4110");
    EXPECT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_THAT(log(), Contains("Impromptu CCC initialization by 'rscpCActivate'."));
    EXPECT_STREQ(rscpeInitializer(), "rscpCActivate");
}

TEST_F(ConverterInitTest, SizesWithoutProfile) {
    ConverterSettings settings;
    EXPECT_EQ(find_cachesizes(settings), 0);
    EXPECT_EQ(settings.sizes.cache, 6000000U);
    EXPECT_EQ(settings.sizes.t7, 600000U);
    EXPECT_EQ(settings.highestInternalCode, 2442);
}

TEST_F(ConverterInitTest, CacheSize169999Fails) {
    setProfile("rsts/ccc/cachesize", "169999");
    EXPECT_EQ(rscpCInit(), RSCPEINTERN);
    EXPECT_EQ(message(), "KAVPARAM(rsts/ccc/cachesize) too small");
    EXPECT_EQ(detail(), "cachesize&169999&170000&");
    EXPECT_EQ(rscpState(), RscpState::failed);
}

TEST_F(ConverterInitTest, CacheSize170000Works) {
    setProfile("rsts/ccc/cachesize", "170000");
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_EQ(converterCache().allocated(), 170000U);
    EXPECT_EQ(convert("1100", "4110", "abc").output, "abc");
}

TEST_F(ConverterInitTest, CacheSize20000000IsClamped) {
    setProfile("rsts/ccc/cachesize", "20000000");
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_THAT(log(), Contains("KAVPARAM(rsts/ccc/cachesize) too large"));
    EXPECT_THAT(log(), Contains("CCC cache initialized with 16776192 bytes."));
    EXPECT_EQ(converterCache().header().length, 16776192U);
}

TEST_F(ConverterInitTest, LargestCacheSizeIsNotClamped) {
    setProfile("rsts/ccc/cachesize", "16776192");
    ConverterSettings settings;
    EXPECT_EQ(find_cachesizes(settings), 0);
    EXPECT_EQ(settings.sizes.cache, 16776192U);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(ConverterInitTest, T7SizeIsBoundedAndRounded) {
    ConverterSettings settings;
    setProfile("rsts/ccc/cache07", "199");
    EXPECT_EQ(find_cachesizes(settings), RSCPEINTERN);
    EXPECT_EQ(message(), "KAVPARAM(rsts/ccc/cache07) too small");
    EXPECT_EQ(detail(), "cache07&199&200&");
    setProfile("rsts/ccc/cache07", "200");
    EXPECT_EQ(find_cachesizes(settings), 0);
    EXPECT_EQ(settings.sizes.t7, 208U);
    setProfile("rsts/ccc/cache07", "208");
    EXPECT_EQ(find_cachesizes(settings), 0);
    EXPECT_EQ(settings.sizes.t7, 208U);
}

TEST_F(ConverterInitTest, T7AreaThatLeavesNoRoomFails) {
    for (const char* size : {"6000000", "99999999999999999999", "5999000"}) {
        setProfile("rsts/ccc/cache07", size);
        ConverterSettings settings;
        ASSERT_EQ(find_cachesizes(settings), 0);
        ConverterCache cache;
        EXPECT_EQ(cache.allocate(settings.sizes), RSCPEINTERN);
        EXPECT_EQ(message(), "CCC: T7 area leaves no room for tables");
    }
}

TEST_F(ConverterInitTest, InternalCharacterNumberHasAMinimum) {
    ConverterSettings settings;
    setProfile("rscp/ccc/max_intern_code", "17");
    EXPECT_EQ(find_cachesizes(settings), 0);
    EXPECT_EQ(settings.highestInternalCode, 2442);
    setProfile("rscp/ccc/max_intern_code", "3000");
    setProfile("rscp/ccc/max_intern_uchar", "65535");
    EXPECT_EQ(find_cachesizes(settings), 0);
    EXPECT_EQ(settings.highestInternalCode, 3000);
    EXPECT_EQ(settings.highestUnicode, 65535);
}

TEST_F(ConverterInitTest, ObsoleteParameterIsIgnored) {
    setProfile("rsts/ccc/max_kavcode", "5");
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_THAT(log(), Contains("KAVPARAM(rsts/ccc/max_kavcode) ignored"));
}

TEST_F(ConverterInitTest, InitializationInsideInitializationIsALoop) {
    static std::int32_t inner = 0;
    static std::string innerMessage;
    surroundings().hooks.semaphoreStep1 = [] {
        inner = rscpCInit();
        innerMessage = rscpeCurrent()->message;
        return 0;
    };
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_EQ(inner, RSCPEINTERN);
    EXPECT_EQ(innerMessage, "char code converter init loop");
}

TEST_F(ConverterInitTest, FailedInitializationLeavesADamagedConverter) {
    surroundings().memory = false;
    EXPECT_EQ(rscpCInit(), RSCPEINTERN);
    EXPECT_EQ(message(), "cannot malloc for char code convert cache");
    EXPECT_EQ(rscpState(), RscpState::failed);
    surroundings().memory = true;
    EXPECT_EQ(rscpCInit(), RSCPEINTERN);
    EXPECT_EQ(message(), "char code converter damaged");
    rscpCObj_t object = makeObject("1100", "4110");
    EXPECT_EQ(rscpCActivate(&object, true, true), RSCPENOCONV);
    EXPECT_EQ(message(), "CCC not proper initialized");
}

TEST_F(ConverterInitTest, ConversionNeedsAnInitializedConverter) {
    rscpCObj_t object = activated("1100", "4110");
    setRscpState(RscpState::failed);
    EXPECT_EQ(convert(object, "a").code, RSCPENOCONV);
    EXPECT_EQ(message(), "CCC not proper initialized");
    for (const RscpState state : {RscpState::initialized, RscpState::filled, RscpState::reinitialize}) {
        setRscpState(state);
        EXPECT_EQ(convert(object, "a").code, 0);
        EXPECT_EQ(rscpCActivate(&object, true, true), 0);
    }
}

TEST_F(ConverterInitTest, FailedSemaphoreStepsAreNamed) {
    surroundings().semaphore[1] = 7;
    EXPECT_EQ(rscpCInit(), RSCPEINTERN);
    EXPECT_EQ(message(), "Semaphore initialization step 2 failed with 7");
    EXPECT_THAT(log(), Contains("Semaphore initialization step 1 done."));
    EXPECT_THAT(log(), Contains("Semaphore initialization step 2 failed with 7"));
    setRscpState(RscpState::fresh);
    surroundings().semaphore[0] = 3;
    EXPECT_EQ(rscpCInit(), RSCPEINTERN);
    EXPECT_EQ(message(), "Semaphore initialization step 1 failed with 3");
}

TEST_F(ConverterInitTest, ErrorPolicyComesFromProfileOrEnvironment) {
    const EnvironmentVariable policy("RSCP_ON_ERROR", "4");
    setProfile("rscp/ccc/protect", "1");
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_EQ(rscpOption(6), 4);
    EXPECT_EQ(rscpOption(20), 1);
    setRscpState(RscpState::fresh);
    setProfile("rscp/on_error", "2");
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_EQ(rscpOption(6), 2);
}

TEST_F(ConverterInitTest, PrivateUseAreaSettingsAreRead) {
    setProfile("rscp/pua/icon2intro", "E040");
    setProfile("rscp/pua/printcontrol5intro", "E041");
    setProfile("rscp/pua/frame1intro", "E042");
    setProfile("rscp/pua/DBC_replacement", "20AC");
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_EQ(converterSettings().iconIntroducer, 0xE040);
    EXPECT_EQ(converterSettings().printControlIntroducer, 0xE041);
    EXPECT_EQ(converterSettings().frameIntroducer, 0xE042);
    EXPECT_STREQ(converterSettings().replacementUtf8, "\xE2\x82\xAC");
}

TEST_F(ConverterInitTest, DatabaseCodePagesDefaultToTheInternalOne) {
    char codePages[4][4];
    std::size_t count = 9;
    EXPECT_EQ(rscpGetDBCodePages(codePages, 4, count), RSCPECALL);
    EXPECT_EQ(message(), "CCC not yet initialized");
    EXPECT_EQ(count, 0U);
    ASSERT_EQ(rscpCInit(), 0);
    EXPECT_EQ(rscpGetDBCodePages(codePages, 4, count), 0);
    ASSERT_EQ(count, 1U);
    EXPECT_EQ(std::string(codePages[0], 4), "1100");
    EXPECT_THAT(trace(), Contains("1 code pages"));
    EXPECT_EQ(rscpGetDBCodePages(nullptr, 0, count), RSCPETOOLONG);
    EXPECT_EQ(message(), "Too many code pages for output");
    EXPECT_EQ(count, 1U);
}

TEST_F(ConverterInitTest, DatabaseCodePagesComeFromTheFileOfTheProfile) {
    const TemporaryDirectory directory;
    writeFile(directory.file("TCPDB.DAT"), "# code pages\n1100\n\n4110 # UTF-8\r\n1160");
    setProfile("rscp/operride/TCPDB", directory.file("TCPDB.DAT"));
    ASSERT_EQ(rscpCInit(), 0);
    char codePages[4][4];
    std::size_t count = 0;
    EXPECT_EQ(rscpGetDBCodePages(codePages, 4, count), 0);
    ASSERT_EQ(count, 3U);
    EXPECT_EQ(std::string(codePages[0], 12), "110041101160");
}

TEST_F(ConverterInitTest, BadFilesOfDatabaseCodePagesFailTheFill) {
    const TemporaryDirectory directory;
    const std::string name = directory.file("TCPDB.DAT");
    setProfile("rscp/operride/TCPDB", name);
    std::string tooMany;
    for (std::size_t count = 0; count <= kMaxDatabaseCodePages; ++count) {
        tooMany += "1100\n";
    }
    for (const auto& [content, cause] : std::map<std::string, std::string>{{tooMany, "TCPDB too many entries"},
                                                                           {"11x0\n", "TCPDB: row is no code page"},
                                                                           {"11000\n", "TCPDB: row is no code page"}}) {
        writeFile(name, content);
        setRscpState(RscpState::fresh);
        log().clear();
        EXPECT_NE(rscpCInit(), 0);
        EXPECT_EQ(message(), "CCC-cache init failed.");
        EXPECT_EQ(rscpeCurrent()->cause, cause);
        EXPECT_THAT(log(), Contains("CCC-cache init failed."));
        EXPECT_EQ(rscpState(), RscpState::failed);
    }
}

TEST_F(ConverterInitTest, UnreadableFileWhileFillingLeadsToReinitialization) {
    const TemporaryDirectory directory;
    const std::string name = directory.file("TCPDB.DAT");
    setProfile("rscp/operride/TCPDB", name);
    EXPECT_EQ(rscpCInit(), RSCPEIO);
    EXPECT_EQ(rscpState(), RscpState::reinitialize);
    EXPECT_STREQ(rscpeCurrent()->cause, "Cannot read flat file with database table");
    EXPECT_THAT(log(), Contains("I/O error. Code page converter switched to reinitialize state. CCC.reorg_done=T."));

    rscpCObj_t object = makeObject("1100", "4110");  // conversion is still allowed
    EXPECT_EQ(rscpCActivate(&object, true, true), 0);
    EXPECT_EQ(convert(object, "\xFC").output, "\xC3\xBC");

    EXPECT_EQ(rscpCInit(), RSCPEIO);
    EXPECT_THAT(log(), Contains("Try CCC initialization in state: 5 . (CCC not in reach.)"));
    EXPECT_EQ(rscpState(), RscpState::reinitialize);

    writeFile(name, "4110\n");
    log().clear();
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_THAT(log(), ElementsAre("Try CCC initialization in state: 5 . (CCC not in reach.)",
                                   "CCC cache initialized with 6000000 bytes.", "CCC in initialized state.",
                                   "Code page converter switched back to initialized state. CCC.reorg_done=T."));
    EXPECT_EQ(rscpState(), RscpState::initialized);
    EXPECT_EQ(convert(object, "\xFC").output, "\xC3\xBC");
}

TEST_F(ConverterInitTest, ReinitializationWithABadFileLeavesADamagedConverter) {
    const TemporaryDirectory directory;
    const std::string name = directory.file("TCPDB.DAT");
    setProfile("rscp/operride/TCPDB", name);
    ASSERT_EQ(rscpCInit(), RSCPEIO);
    ASSERT_EQ(rscpState(), RscpState::reinitialize);
    writeFile(name, "11x0\n");
    EXPECT_EQ(rscpCInit(), RSCPEINVAL);
    EXPECT_THAT(log(), Contains("CCC-cache init failed."));
    EXPECT_EQ(rscpState(), RscpState::failed);
    EXPECT_EQ(rscpCInit(), RSCPEINTERN);
    EXPECT_EQ(message(), "char code converter damaged");
}

TEST_F(ConverterInitTest, ManyThreadsInitializeOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int index = 0; index < 32; ++index) {
        threads.emplace_back([&failures] { failures += rscpCInit() != 0; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(std::count(log().begin(), log().end(), "CCC in initialized state."), 1);
}

}  // namespace
}  // namespace quorvanti::test

#include "sec/voraksso/properties.h"

#include "tests/sec/voraksso/engine_fixture.h"

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/state.h"

#include <cstdlib>
#include <filesystem>
#include <thread>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

constexpr char kAllNames[] =
    "KAV_EXT_TRC;KAV_EXT_TRL;KAV_EXT_SYSID;KAV_EXT_CLIENT;KAV_OWN_SYSID;KAV_OWN_CLIENT;KAV_EXT_CODEPAGE;SSF_LIB;"
    "SSF_HASH;SSF_INCLUDE_CERT";

std::string get(const char* name) {
    const char* value = QuorvantiGetProperty(name);
    return value != nullptr ? value : "(null)";
}

std::int32_t set(const char* name, const char* value) {
    return QuorvantiSetProperty(name, value);
}

// None of the variables that properties fall back to is set.
class PropertiesTest : public ::testing::Test {
    EnvironmentVariable variables_[7]{{"KAV_EXT_TRC", nullptr},      {"KAV_EXT_TRL", nullptr},
                                      {"KAVSYSTEMNAME", nullptr},    {"KAVSYSTEMCLIENT", nullptr},
                                      {"KAV_EXT_CODEPAGE", nullptr}, {"SSF_LIB", nullptr},
                                      {"SSF_HASH", nullptr}};
};

TEST_F(PropertiesTest, NoNameAnswersTheListOfAll) {
    EXPECT_EQ(get(nullptr), kAllNames);
}

TEST_F(PropertiesTest, EveryTextHasItsDefaultAndItsWidth) {
    struct Row {
        const char* name;
        const char* standard;
        const char* cut;
    };
    for (const Row& row : {Row{"KAV_OWN_SYSID", "SYS", "01234567"}, Row{"KAV_OWN_CLIENT", "000", "012"},
                           Row{"KAV_EXT_SYSID", "EXT", "01234567"}, Row{"KAV_EXT_CLIENT", "999", "012"},
                           Row{"KAV_EXT_CODEPAGE", "1100", "0123"}, Row{"SSF_HASH", "SHA1", "0123456789012345678"}}) {
        EXPECT_EQ(get(row.name), row.standard);
        EXPECT_EQ(set(row.name, "X"), VORAK_OK);
        EXPECT_EQ(get(row.name), "X");
        EXPECT_EQ(set(row.name, "01234567890123456789012345"), VORAK_OK);
        EXPECT_EQ(get(row.name), row.cut) << "a value that is too long is cut to the field, its terminator included";
        EXPECT_EQ(set(row.name, ""), VORAK_OK);
        EXPECT_EQ(get(row.name), row.standard);
        EXPECT_EQ(set(row.name, "Y"), VORAK_OK);
        EXPECT_EQ(set(row.name, nullptr), VORAK_OK);
        EXPECT_EQ(get(row.name), row.standard);
    }
}

TEST_F(PropertiesTest, TheEnvironmentAnswersWhileTheDefaultIsStored) {
    struct Row {
        const char* name;
        const char* variable;
        const char* standard;
    };
    for (const Row& row :
         {Row{"KAV_OWN_SYSID", "KAVSYSTEMNAME", "SYS"}, Row{"KAV_OWN_CLIENT", "KAVSYSTEMCLIENT", "000"},
          Row{"KAV_EXT_SYSID", "KAVSYSTEMNAME", "EXT"}, Row{"KAV_EXT_CLIENT", "KAVSYSTEMCLIENT", "999"},
          Row{"SSF_HASH", "SSF_HASH", "SHA1"}}) {
        const EnvironmentVariable variable(row.variable, "ENV");
        EXPECT_EQ(get(row.name), "ENV") << row.name;
        set(row.name, "SET");
        EXPECT_EQ(get(row.name), "SET") << row.name;
        set(row.name, "");
        EXPECT_EQ(get(row.name), "ENV") << row.name << " set to an empty text takes the environment again";
        const EnvironmentVariable empty(row.variable, "");
        EXPECT_EQ(get(row.name), row.standard) << "an empty variable counts as not set";
    }
}

TEST_F(PropertiesTest, TheCodePageLooksAtTheOwnClientNotAtItselfAndSoIgnoresTheEnvironment) {
    const EnvironmentVariable variable("KAV_EXT_CODEPAGE", "4103");
    EXPECT_EQ(get("KAV_EXT_CODEPAGE"), "1100");
    set("KAV_OWN_CLIENT", "1100");
    EXPECT_EQ(get("KAV_EXT_CODEPAGE"), "1100") << "the own client is cut to three characters and never equals 1100";
    set("KAV_OWN_CLIENT", nullptr);
}

TEST_F(PropertiesTest, TheTraceLevelCountsItsFirstCharacterOnly) {
    for (const auto& [value, expected] :
         {std::pair{"0", "0"}, {"1", "1"}, {"2", "2"}, {"3", "3"}, {"7", "1"}, {"10", "1"}, {"x", "1"}, {"23", "2"}}) {
        EXPECT_EQ(set("KAV_EXT_TRL", value), VORAK_OK);
        EXPECT_EQ(get("KAV_EXT_TRL"), expected) << value;
        EXPECT_EQ(traceState().level.load(), std::atoi(expected));
    }
}

TEST_F(PropertiesTest, AnUnsetTraceLevelIsZeroInForceAndAnsweredFromTheEnvironment) {
    for (const char* value : {"", static_cast<const char*>(nullptr)}) {
        set("KAV_EXT_TRL", "3");
        EXPECT_EQ(set("KAV_EXT_TRL", value), VORAK_OK);
        EXPECT_EQ(traceState().level.load(), 0);
        EXPECT_EQ(get("KAV_EXT_TRL"), "1");
        for (const auto& [text, expected] :
             {std::pair{"2", "2"}, {"0", "0"}, {"4", "1"}, {"-1", "1"}, {"10", "1"}, {"", "1"}}) {
            const EnvironmentVariable variable("KAV_EXT_TRL", text);
            EXPECT_EQ(get("KAV_EXT_TRL"), expected) << text;
        }
    }
}

TEST_F(PropertiesTest, TheTraceTargetIsTheStoredOneOrTheEnvironments) {
    EXPECT_EQ(get("KAV_EXT_TRC"), "(null)");
    const EnvironmentVariable variable("KAV_EXT_TRC", "from-environment");
    EXPECT_EQ(get("KAV_EXT_TRC"), "from-environment");
    const TemporaryDirectory directory;
    const std::string file = directory.file("stored");
    set("KAV_EXT_TRC", file.c_str());
    EXPECT_EQ(get("KAV_EXT_TRC"), file);
    set("KAV_EXT_TRC", nullptr);
    EXPECT_EQ(get("KAV_EXT_TRC"), "from-environment");
}

std::string headerOf(const char* name, const char* level) {
    const std::string rule(51, '-');
    return "\n" + rule + "\ntrc file: \"" + name + "\", trc level: " + level + ", release: \"742\"\n" + rule + "\n";
}

TEST_F(PropertiesTest, ALevelAndThenATargetStartTheFileAtThatLevel) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("sso.trc");
    EXPECT_EQ(set("KAV_EXT_TRL", "2"), VORAK_OK);
    EXPECT_EQ(set("KAV_EXT_TRC", file.c_str()), VORAK_OK);
    EXPECT_EQ(readText(file), headerOf("sso.trc", "2"));
    set("KAV_EXT_TRC", nullptr);
}

TEST_F(PropertiesTest, ATargetAloneStartsTheFileAtMinusOneAndOnlyTheBannerFollows) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("sso.trc");
    EXPECT_EQ(set("KAV_EXT_TRC", file.c_str()), VORAK_OK);
    EXPECT_EQ(set("NO_SUCH", "1"), VORAK_INVALID) << "an error line, at another level";
    EXPECT_EQ(readText(file), headerOf("sso.trc", "-1"));
    TRACE(0, "banner\n");
    EXPECT_TRUE(readText(file).ends_with("] banner\n"));
    set("KAV_EXT_TRC", nullptr);
}

TEST_F(PropertiesTest, TheCryptoLibraryIsKeptInTheEnvironment) {
    EXPECT_EQ(get("SSF_LIB"), "(null)");
    EXPECT_EQ(set("SSF_LIB", "some-library"), VORAK_OK);
    EXPECT_STREQ(std::getenv("SSF_LIB"), "some-library");
    EXPECT_EQ(get("SSF_LIB"), "some-library");
    EXPECT_EQ(set("SSF_LIB", nullptr), VORAK_OK);
    EXPECT_EQ(get("SSF_LIB"), "some-library") << "null changes nothing";
    EXPECT_EQ(set("SSF_LIB", std::string(5000, 'x').c_str()), VORAK_OK);
    EXPECT_EQ(get("SSF_LIB").size(), 4096u - std::string("SSF_LIB=").size() - 1);
}

TEST_F(PropertiesTest, TheCertificateSwitchKnowsThreeWordsForOn) {
    EXPECT_EQ(get("SSF_INCLUDE_CERT"), "0");
    for (const char* on : {"1", "true", "TRUE", "yes", "Yes"}) {
        set("SSF_INCLUDE_CERT", on);
        EXPECT_EQ(get("SSF_INCLUDE_CERT"), "1") << on;
        EXPECT_TRUE(includeCertificateProperty());
        set("SSF_INCLUDE_CERT", "0");
    }
    for (const char* off : {"on", "2", "true ", "tru", "yess", "11", "", static_cast<const char*>(nullptr)}) {
        set("SSF_INCLUDE_CERT", "1");
        set("SSF_INCLUDE_CERT", off);
        EXPECT_EQ(get("SSF_INCLUDE_CERT"), "0") << (off != nullptr ? off : "(null)");
        EXPECT_FALSE(includeCertificateProperty());
    }
}

TEST_F(PropertiesTest, NamesAreMatchedExactly) {
    const TraceCapture trace(1);
    EXPECT_EQ(set(nullptr, "x"), VORAK_INVALID);
    EXPECT_EQ(set("SSF_HASH ", "x"), VORAK_INVALID);
    EXPECT_EQ(set("ssf_hash", "x"), VORAK_INVALID);
    EXPECT_EQ(get("SSF_HAS"), "(null)");
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{
                                 "*** ERROR => QuorvantiSetProperty: Null for property name is invalid [ssoxxext]",
                                 "*** ERROR => QuorvantiSetProperty: Unknown property SSF_HASH   [ssoxxext]",
                                 "*** ERROR => QuorvantiSetProperty: Unknown property ssf_hash  [ssoxxext]",
                                 "*** ERROR => QuorvantiGetProperty: Unknown property SSF_HAS  [ssoxxext]"}));
}

TEST_F(PropertiesTest, EntryAndExitAreTracedAtLevel3) {
    const TraceCapture trace(3);
    set("SSF_HASH", "SHA256");
    set("SSF_HASH", "");
    get("SSF_HASH");
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"QuorvantiSetProperty(SSF_HASH,SHA256)", "Leave QuorvantiSetProperty",
                                        "QuorvantiSetProperty(SSF_HASH,null)", "Leave QuorvantiSetProperty",
                                        "QuorvantiGetProperty(SSF_HASH)"}));
}

TEST_F(PropertiesTest, SettingStdoutTwiceKeepsTheStandardOutput) {
    set("KAV_EXT_TRC", "stdout");
    EXPECT_EQ(traceState().stream.load(), stdout);
    set("KAV_EXT_TRC", "stdout");
    EXPECT_EQ(traceState().stream.load(), stdout);
    EXPECT_EQ(get("KAV_EXT_TRC"), "(null)") << "the standard streams are no stored target";
    set("KAV_EXT_TRC", nullptr);
    EXPECT_EQ(traceState().stream.load(), nullptr);
}

TEST_F(PropertiesTest, BehindAFileStdoutNamesAFile) {
    const TemporaryDirectory directory;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    set("KAV_EXT_TRC", "first");
    set("KAV_EXT_TRC", "stdout");
    EXPECT_TRUE(std::filesystem::exists("stdout"));
    set("KAV_EXT_TRC", nullptr);
    std::filesystem::current_path(before);
}

TEST_F(PropertiesTest, CopiesAreWholeWhileOthersSetAndGet) {
    std::atomic<bool> stop{false};
    std::thread setter([&] {
        while (!stop) {
            set("KAV_EXT_CODEPAGE", "1100");
            set("KAV_EXT_CODEPAGE", "4103");
        }
    });
    std::thread getter([&] {
        while (!stop) {
            // What the getter hands out is the stored text itself: reading it here would race with the setter.
            QuorvantiGetProperty("KAV_EXT_CODEPAGE");
            QuorvantiGetProperty("KAV_EXT_SYSID");
            QuorvantiGetProperty("SSF_LIB");
        }
    });
    for (int i = 0; i < 2000; ++i) {
        const std::string copy = propertyCopy("KAV_EXT_CODEPAGE");
        EXPECT_TRUE(copy == "1100" || copy == "4103") << copy;
        set("SSF_LIB", i % 2 == 0 ? "one" : "another-library-with-a-longer-name");
    }
    stop = true;
    setter.join();
    getter.join();
}

}  // namespace
}  // namespace quorvanti

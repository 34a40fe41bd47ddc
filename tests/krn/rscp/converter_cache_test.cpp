#include "krn/rscp/converter_cache.h"

#include "krn/rscp/converter_state.h"
#include "krn/time/clock.h"
#include "tests/krn/rscp/converter_fixture.h"
#include "tests/support/environment.h"
#include "tests/support/pattern.h"

#include <cstdio>

namespace quorvanti::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A cache of the smallest size and more flat files than it can hold.
class ConverterOverflowTest : public ConverterTest {
protected:
    static constexpr int kFirst = 7000;
    static constexpr int kFiles = 100;

    ConverterOverflowTest() {
        setProfile("rsts/ccc/cachesize", "170000");
        setProfile("rscp/file/codepage", directory_.file("S++++.CPA"));
        for (int number = kFirst; number < kFirst + kFiles; ++number) {
            char row[32];
            std::string text;
            for (unsigned byte = 0; byte < 256; ++byte) {
                std::snprintf(row, sizeof row, "0x%02X\t0x%04X\n", byte, byte < 0x80 ? byte : 0x400 + byte);
                text += row;
            }
            writeFile(directory_.file("S" + std::to_string(number) + ".CPA"), text);
        }
    }

    // Loads the files one after the other until the cache overflows; gives the code page with which it did.
    std::string fillUntilOverflow() {
        for (int number = kFirst; number < kFirst + kFiles; ++number) {
            activated(std::to_string(number).c_str(), "4110");
            if (converterCache().header().overflows != 0) {
                return std::to_string(number);
            }
        }
        return "";
    }

    TemporaryDirectory directory_;
};

TEST_F(ConverterOverflowTest, OverflowReorganizesTheCache) {
    ASSERT_EQ(rscpCInit(), 0);
    log().clear();
    const std::string last = fillUntilOverflow();
    ASSERT_FALSE(last.empty());
    EXPECT_THAT(log(), ElementsAre("Overflow. Loading " + last + " for input.",
                                   "CCC cache with 170000 bytes reorganizing because of overflow.",
                                   "CCC cache with 170000 bytes reorganized.",
                                   "Code page converter switched back to initialized state. CCC.reorg_done=T."));
    EXPECT_THAT(trace(), Contains("WaitBeforeClearing..."));
    EXPECT_THAT(trace(), Contains("...Clearing CCCC now."));
    EXPECT_EQ(converterCache().header().countT1, 1U);
    EXPECT_EQ(converterCache().header().reorganizationCount, 1U);
    EXPECT_THAT(qualityFindings(0), IsEmpty());
    EXPECT_EQ(rscpState(), RscpState::initialized);
}

TEST_F(ConverterOverflowTest, OverflowNamesTargetAndBaseCodePage) {
    ASSERT_EQ(rscpCInit(), 0);
    const std::string overflowing = fillUntilOverflow();
    ASSERT_FALSE(overflowing.empty());
    // One table is left of that; as many again as fitted fill the cache to the brim.
    const int fitting = std::stoi(overflowing) - kFirst;
    const auto fillToTheBrim = [fitting] {
        for (int number = kFirst; number < kFirst + fitting; ++number) {
            activated("4110", std::to_string(number).c_str());
        }
    };
    for (const auto& [codePage, line] : {std::pair("7099", "Overflow. Loading 7099 for output."),
                                         std::pair("1160", "Overflow. Loading 1160(1100) for output."),
                                         std::pair("1101", "Overflow. Loading 1101(1100) for output.")}) {
        ASSERT_EQ(rscpict3_invalidate_convert_tables(), 0);
        fillToTheBrim();
        log().clear();
        activated("4110", codePage);
        EXPECT_THAT(log(), Contains(line));
    }
    ASSERT_EQ(rscpict3_invalidate_convert_tables(), 0);
    fillToTheBrim();
    log().clear();
    activated("1160", "4110");
    EXPECT_THAT(log(), Contains("Overflow. Loading 1160(1100) for input."));
}

TEST_F(ConverterOverflowTest, BothCodePagesOfAPairSurviveAnOverflow) {
    ASSERT_EQ(rscpCInit(), 0);
    const std::string overflowing = fillUntilOverflow();
    ASSERT_FALSE(overflowing.empty());
    ASSERT_EQ(rscpict3_invalidate_convert_tables(), 0);
    for (int number = kFirst; number < std::stoi(overflowing); ++number) {
        activated("4110", std::to_string(number).c_str());
    }
    rscpCObj_t object = activated("7000", "7099");  // the second throws out the first
    EXPECT_EQ(convert(object, "a\xC0").output, "a\xC0");
}

TEST_F(ConverterOverflowTest, ActivatedObjectsFollowAReorganization) {
    rscpCObj_t object = activated("1160", "4110");
    const std::uint32_t before = object.cacheGeneration;
    ASSERT_FALSE(fillUntilOverflow().empty());
    EXPECT_EQ(convert(object, "\x80").output, "\xE2\x82\xAC");
    EXPECT_NE(object.cacheGeneration, before);
}

TEST_F(ConverterOverflowTest, ConversionDoesNotTouchTheCacheForPairsWithoutTables) {
    ASSERT_EQ(rscpCInit(), 0);
    for (const auto& [source, target] :
         {std::pair("1100", "1100"), std::pair("9999", "9999"), std::pair("4110", "4103"), std::pair("4104", "4110"),
          std::pair("4100", "4101"), std::pair("4105", "4104")}) {
        activated(source, target);
    }
    EXPECT_EQ(converterCache().header().countT1, 0U);
    EXPECT_EQ(converterCache().header().lookups.load(), 0U);
}

// A code page whose characters lie in `blocks` different blocks of 256, and so needs as many in the cache.
std::string scatteredCodePage(unsigned blocks) {
    std::string text = "0x23 0x0023\n";
    for (unsigned byte = 0x24; byte < 0x24 + blocks; ++byte) {
        char row[32];
        std::snprintf(row, sizeof row, "0x%02X 0x%04X\n", byte, (byte - 0x23) << 8);
        text += row;
    }
    return text;
}

class ConverterNarrowCacheTest : public ConverterTest {
protected:
    ConverterNarrowCacheTest() {
        setProfile("rsts/ccc/cachesize", "170000");
        setProfile("rsts/ccc/cache07", "90000");
        setProfile("rscp/file/codepage", directory_.file("S++++.CPA"));
        writeFile(directory_.file("S7001.CPA"), scatteredCodePage(200));
        writeFile(directory_.file("S7002.CPA"), scatteredCodePage(100));
        writeFile(directory_.file("S7003.CPA"), scatteredCodePage(100));
    }
    static std::int32_t activate(const char* source, const char* target) {
        EXPECT_EQ(rscpCInit(), 0);
        rscpCObj_t object = makeObject(source, target);
        return rscpCActivate(&object, true, true);
    }

    TemporaryDirectory directory_;
};

TEST_F(ConverterNarrowCacheTest, CodePageThatNeverFitsIsRefused) {
    EXPECT_EQ(activate("7001", "4110"), RSCPEINTERN);
    EXPECT_EQ(message(), "Overflow. Loading 7001 for input.");
    EXPECT_EQ(activate("4110", "7001"), RSCPEINTERN);
    EXPECT_EQ(message(), "Overflow. Loading 7001 for output.");
    EXPECT_EQ(convert("1100", "4110", "\xFC").output, "\xC3\xBC");
}

TEST_F(ConverterNarrowCacheTest, PairThatNeverFitsIsRefused) {
    EXPECT_EQ(activate("7002", "4110"), 0);
    EXPECT_EQ(activate("7003", "4110"), 0);
    EXPECT_EQ(activate("7002", "7003"), RSCPEINTERN);
    EXPECT_EQ(message(), "CCC has no room for both code pages");
    EXPECT_EQ(convert("1100", "4110", "\xFC").output, "\xC3\xBC");
}

// Whoever prepares an object finds the tables gone again right after.
TEST_F(ConverterTest, EndlessReorganizationEndsInBusy) {
    rscpCObj_t object = activated("1100", "4110");
    static bool inside = false;
    surroundings().hooks.unlockCache = [] {
        if (!inside) {
            inside = true;
            rscpict3_invalidate_convert_tables();
            inside = false;
        }
        defaultConverterHooks.unlockCache();
    };
    ASSERT_EQ(rscpict3_invalidate_convert_tables(), 0);
    EXPECT_EQ(convert(object, "a").code, RSCPEBUSY);
    EXPECT_EQ(message(), "CCC is reorganized all the time");
    surroundings().hooks.unlockCache = defaultConverterHooks.unlockCache;
    EXPECT_EQ(convert(object, "a").output, "a");
}

TEST_F(ConverterTest, TablesAreLoadedOnce) {
    activated("1100", "4110");
    const std::uint32_t used = converterCache().header().freeArea;
    activated("1100", "4103");
    activated("4110", "1100");
    EXPECT_EQ(converterCache().header().countT1, 1U);
    EXPECT_EQ(converterCache().header().freeArea, used);
}

TEST_F(ConverterTest, InvalidationReorganizes) {
    EXPECT_EQ(rscpict3_invalidate_convert_tables(), RSCPECALL);
    EXPECT_EQ(message(), "CCC not yet initialized");
    rscpCObj_t object = activated("1100", "4110");
    log().clear();
    EXPECT_EQ(rscpict3_invalidate_convert_tables(), 0);
    EXPECT_THAT(log(), ElementsAre("CCC cache with 6000000 bytes reorganizing because of invalidation.",
                                   "CCC cache with 6000000 bytes reorganized.",
                                   "Code page converter switched back to initialized state. CCC.reorg_done=T."));
    EXPECT_EQ(converterCache().header().countT1, 0U);
    EXPECT_EQ(converterCache().header().reorganizationVersion, 1U);
    EXPECT_EQ(converterCache().header().reorganizationCount, 1U);
    EXPECT_EQ(convert(object, "\xFC").output, "\xC3\xBC");
}

TEST_F(ConverterTest, ReorganizationThatCannotFillLeavesStateFive) {
    const TemporaryDirectory directory;
    rscpCObj_t object = activated("1100", "4110");
    setProfile("rscp/operride/TCPDB", directory.file("TCPDB.DAT"));
    EXPECT_EQ(rscpict3_invalidate_convert_tables(), RSCPEIO);
    EXPECT_EQ(rscpState(), RscpState::reinitialize);
    EXPECT_THAT(log(), Contains("I/O error. Code page converter switched to reinitialize state. CCC.reorg_done=F."));
    EXPECT_THAT(qualityFindings(RSCPEBADO),
                ElementsAre("CCC version is in half cooked state: 1",
                            "CCC reorg_done: FALSE: Still waiting for re-org.", "rscpqc_quality_check aborted."));
    EXPECT_EQ(convert(object, "\xFC").output, "\xC3\xBC");
    writeFile(directory.file("TCPDB.DAT"), "1100\n");
    EXPECT_EQ(rscpCInit(), 0);
    EXPECT_THAT(log(), Contains("Code page converter switched back to initialized state. CCC.reorg_done=T."));
    EXPECT_THAT(qualityFindings(0), IsEmpty());
}

TEST_F(ConverterTest, DumpBeforeReorganization) {
    setProfile("rscp/ccc/dump", "1");
    activated("1100", "4110");
    log().clear();
    ASSERT_EQ(rscpict3_invalidate_convert_tables(), 0);
    EXPECT_THAT(log(), Contains("Character code converter: cache report"));
    EXPECT_THAT(log(), Contains("tables                   1"));
}

TEST_F(ConverterTest, CacheReportBeforeInitialization) {
    EXPECT_THAT(linesOf(rscpcs_cache_status),
                ElementsAre("Character code converter: cache report", "process state    0 (fresh)",
                            "initialized by   compile_time", "cache state      not good"));
}

TEST_F(ConverterTest, CacheReport) {
    const EnvironmentVariable parent("PPID", "1234");
    setClockSource([]() -> std::int64_t { return 1000000000000; });
    activated("1100", "4110");
    const auto lines = linesOf(rscpcs_cache_status);
    EXPECT_THAT(lines, Contains("process state    2 (initialized)"));
    EXPECT_THAT(lines, Contains("initialized by   rscpCInit"));
    EXPECT_THAT(lines, Contains("cache state      initialized"));
    EXPECT_THAT(lines, Contains("length             6000000"));
    EXPECT_THAT(lines, Contains("created          20010909014640"));
    EXPECT_THAT(lines, Contains("last reorg.      2000010100000000"));
    EXPECT_THAT(lines, Contains(MatchesPattern("created by      +[0-9]+ \\(parent PId 1234\\)")));
    EXPECT_THAT(lines, Contains("attaches                 1"));
    ASSERT_EQ(rscpict3_invalidate_convert_tables(), 0);
    const auto after = linesOf(rscpcs_cache_status);
    EXPECT_THAT(after, Contains("last reorg.      20010909014640"));
    EXPECT_THAT(after, Contains("reorg. reason    invalidation"));
    EXPECT_THAT(after, Contains(MatchesPattern("invalidated by  +[0-9]+ \\(parent PId 1234\\)")));
    setClockSource(nullptr);
}

TEST_F(ConverterTest, CacheReportNamesStates) {
    ASSERT_EQ(rscpCInit(), 0);
    for (const auto& [version, name] :
         {std::pair(CacheVersion::notGood, "not good"), std::pair(CacheVersion::halfCooked, "half-cooked"),
          std::pair(CacheVersion::threeQuarterCooked, "three-quarter cooked"),
          std::pair(CacheVersion::initialized, "initialized"), std::pair(static_cast<CacheVersion>(99), "not good")}) {
        converterCache().header().version = version;
        EXPECT_THAT(linesOf(rscpcs_cache_status), Contains(std::string("cache state      ") + name));
    }
    EXPECT_STREQ(rscpStateName(RscpState::fresh), "fresh");
    EXPECT_STREQ(rscpStateName(RscpState::initStarted), "init_started");
    EXPECT_STREQ(rscpStateName(RscpState::failed), "wrong_version");
    EXPECT_STREQ(rscpStateName(RscpState::reinitialize), "reinitialize");
}

TEST_F(ConverterTest, QualityCheckNeedsACache) {
    EXPECT_THAT(qualityFindings(RSCPECALL), IsEmpty());
    EXPECT_EQ(message(), "CCC not yet initialized");
}

TEST_F(ConverterTest, QualityCheckFindsNothingInASoundCache) {
    activated("1100", "1160");
    EXPECT_THAT(qualityFindings(0), IsEmpty());
}

TEST_F(ConverterTest, QualityCheckNamesTheDamage) {
    activated("1100", "1160");
    CacheHeader& header = converterCache().header();
    const auto finds = [](auto& field, auto value, const std::string& finding) {
        const auto before = field;
        field = static_cast<std::remove_cvref_t<decltype(field)>>(value);
        const auto lines = qualityFindings(RSCPEBADO);
        EXPECT_THAT(lines, Contains(finding));
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), "rscpqc_quality_check aborted.");
        field = before;
        EXPECT_THAT(qualityFindings(0), IsEmpty());
    };
    finds(header.version, CacheVersion::halfCooked, "CCC version is in half cooked state: 1");
    finds(header.version, CacheVersion::threeQuarterCooked, "CCC version is in half cooked state: 2");
    finds(header.layout, 7U, "CCC layout version is wrong: 7");
    finds(header.reorganizationDone, false, "CCC reorg_done: FALSE: Still waiting for re-org.");
    finds(header.length, 100U, "CCC length too small: 100");
    finds(header.length, 6000001U, "CCC length too large: 6000001");
    finds(header.firstT1, 0x1000000U, "CCC: first_t1 > length:  16777216 (0x1000000)");
    finds(header.countT1, 1000000U, "CCC: noof_t1 too large: 1000000");
    finds(header.countT1, 1U, "CCC: noof_t1 is 1, but 2 tables are indexed");
    finds(header.freeArea, 16U, "CCC: free area 1 out of place:        16 (0x10)");
    char finding[80];
    std::snprintf(finding, sizeof finding, "CCC: free area 1 out of place: %9ld (0xFFFFFFFF)",
                  static_cast<long>(0xFFFFFFFFU));  // as wide as the system's long
    finds(header.freeArea, 0xFFFFFFFFU, finding);
    EXPECT_EQ(message(), "rscpqc_quality_check aborted.");
}

TEST_F(ConverterTest, QualityCheckCountsTheNullsOfTheFreeArea) {
    activated("1100", "1160");
    CacheHeader& header = converterCache().header();
    auto* dirt = const_cast<std::byte*>(converterCache().memory() + header.firstT7 - 1);
    *dirt = std::byte{1};
    const long bytes = static_cast<long>(header.firstT7 - header.freeArea);
    EXPECT_THAT(qualityFindings(RSCPEBADO), Contains("CCC: free area 1 only " + std::to_string(bytes - 1) +
                                                     " nulls in " + std::to_string(bytes) + " bytes"));
}

TEST_F(ConverterTest, QualityCheckFindsMisplacedTables) {
    activated("1100", "4110");
    CacheHeader& header = converterCache().header();
    for (const std::uint32_t offset : {std::uint32_t{8}, header.freeArea, 0xFFFFFFF0U, header.firstT1 + 1}) {
        const std::uint32_t before = header.tableOf[1100].exchange(offset);
        char finding[80];
        std::snprintf(finding, sizeof finding, "CCC: T1 table out of place: %9ld (0x%lX)", static_cast<long>(offset),
                      static_cast<unsigned long>(offset));
        EXPECT_THAT(qualityFindings(RSCPEBADO), Contains(finding));
        header.tableOf[1100] = before;
    }
}

TEST_F(ConverterTest, CacheLockIsTraced) {
    activated("1100", "4110");
    EXPECT_THAT(trace(), Contains(MatchesPattern("ThrMtx'CCC' by lookup_convert_tables at [0-9]+")));
}

}  // namespace
}  // namespace quorvanti::test

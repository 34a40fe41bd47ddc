// What operators and tests ask the converter: the cache report, the quality check, the code pages of the database.
#include "krn/rscp/converter_cache.h"
#include "krn/rscp/converter_error.h"
#include "krn/rscp/converter_init.h"
#include "krn/rscp/converter_state.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace quorvanti {
namespace {

constexpr const char* kUnit = "krn/rscp/rscpcs.c";

constexpr const char* kVersionNames[] = {"not good", "half-cooked", "three-quarter cooked", "initialized"};

// The caller's writer with formatting in front of it.
class Lines {
public:
    Lines(RscpLineWriter write, void* context) : write_(write), context_(context) {}
    void add(const char* line) {
        write_(context_, line);
        ++count_;
    }
    template <typename First, typename... Rest>
    void add(const char* format, First first, Rest... rest) {
        char line[160];
        std::snprintf(line, sizeof line, format, first, rest...);
        add(line);
    }
    int count() const { return count_; }

private:
    RscpLineWriter write_;
    void* context_;
    int count_ = 0;
};

const char* versionName(CacheVersion version) {
    const auto index = static_cast<std::size_t>(version);
    return index < std::size(kVersionNames) ? kVersionNames[index] : kVersionNames[0];
}

void reportHeader(Lines& lines, const CacheHeader& header) {
    const auto number = [](auto value) { return static_cast<long>(value); };
    lines.add("cache state      %s", versionName(header.version));
    lines.add("layout version   %9ld", number(header.layout));
    lines.add("length           %9ld", number(header.length));
    lines.add("T1 area at       %9ld", number(header.firstT1));
    lines.add("tables           %9ld", number(header.countT1));
    lines.add("free area at     %9ld (%ld bytes)", number(header.freeArea), number(header.firstT7) - header.freeArea);
    lines.add("T7 area at       %9ld (%ld bytes)", number(header.firstT7), number(header.lengthT7));
    lines.add("created          %s", header.created);
    lines.add("last reorg.      %s", header.reorganized);
    lines.add("reorg. version   %9ld", number(header.reorganizationVersion));
    lines.add("reorg. count     %9ld", number(header.reorganizationCount));
    lines.add("reorg_done       %s", header.reorganizationDone ? "TRUE" : "FALSE");
    lines.add("reorg. reason    %s", header.reason);
    lines.add("created by      %9ld (parent PId %ld)", number(header.creator[0]), number(header.creator[1]));
    lines.add("invalidated by  %9ld (parent PId %ld)", number(header.invalidator[0]), number(header.invalidator[1]));
    lines.add("overflows        %9ld", number(header.overflows));
    lines.add("attaches         %9ld", number(header.attaches));
    lines.add("lookups          %9ld", number(header.lookups.load()));
    lines.add("max intern code  %9ld", number(converterSettings().highestInternalCode));
    lines.add("max intern uchar %9ld", number(converterSettings().highestUnicode));
}

// What is wrong with the numbers in the header, before anything is read at the places they give.
void checkHeader(Lines& lines, const CacheHeader& header, std::size_t allocated) {
    const auto number = [](auto value) { return static_cast<long>(value); };
    if (header.version != CacheVersion::initialized) {
        lines.add("CCC version is in half cooked state: %ld", number(header.version));
    }
    if (header.layout != kCacheLayout) {
        lines.add("CCC layout version is wrong: %ld", number(header.layout));
    }
    if (!header.reorganizationDone) {
        lines.add("CCC reorg_done: FALSE: Still waiting for re-org.");
    }
    if (header.length < kSmallestCacheSize) {
        lines.add("CCC length too small: %ld", number(header.length));
    }
    if (header.length > allocated) {
        lines.add("CCC length too large: %ld", number(header.length));
    }
    if (header.firstT1 > header.length) {
        lines.add("CCC: first_t1 > length: %9ld (0x%lX)", number(header.firstT1),
                  static_cast<unsigned long>(header.firstT1));
    }
    if (header.countT1 > header.length / sizeof(SingleByteTable)) {
        lines.add("CCC: noof_t1 too large: %ld", number(header.countT1));
    }
    if (header.freeArea < header.firstT1 || header.freeArea > header.firstT7 || header.firstT7 > header.length) {
        lines.add("CCC: free area 1 out of place: %9ld (0x%lX)", number(header.freeArea),
                  static_cast<unsigned long>(header.freeArea));
    }
}

// Walks the tables as the index names them.
void checkTables(Lines& lines, const CacheHeader& header, const std::byte* memory) {
    std::uint32_t tables = 0;
    for (const auto& entry : header.tableOf) {
        const std::uint32_t offset = entry.load();
        if (offset == 0) {
            continue;
        }
        ++tables;
        const bool inside = offset >= header.firstT1 && offset % alignof(SingleByteTable) == 0 &&
                            offset + sizeof(SingleByteTable) <= header.freeArea;
        const auto* table = reinterpret_cast<const SingleByteTable*>(memory + (inside ? offset : 0));
        if (!inside || table->size > header.freeArea - offset) {
            lines.add("CCC: T1 table out of place: %9ld (0x%lX)", static_cast<long>(offset),
                      static_cast<unsigned long>(offset));
        }
    }
    if (tables != header.countT1) {
        lines.add("CCC: noof_t1 is %ld, but %ld tables are indexed", static_cast<long>(header.countT1),
                  static_cast<long>(tables));
    }
}

void checkFreeArea(Lines& lines, const CacheHeader& header, const std::byte* memory) {
    const auto nulls = std::count(memory + header.freeArea, memory + header.firstT7, std::byte{0});
    const long bytes = static_cast<long>(header.firstT7) - static_cast<long>(header.freeArea);
    if (nulls != bytes) {
        lines.add("CCC: free area 1 only %ld nulls in %ld bytes", static_cast<long>(nulls), bytes);
    }
}

std::int32_t notYetInitialized(std::int32_t site, std::int32_t line) {
    return rscpeFail(RSCPECALL, kUnit, site, line, "CCC not yet initialized");
}

}  // namespace

void rscpcs_cache_status(RscpLineWriter write, void* context) {
    Lines lines(write, context);
    lines.add("Character code converter: cache report");
    lines.add("process state    %ld (%s)", static_cast<long>(rscpState()), rscpStateName(rscpState()));
    lines.add("initialized by   %s", rscpeInitializer());
    if (!converterCache().exists()) {
        lines.add("cache state      %s", versionName(CacheVersion::notGood));
        return;
    }
    const CacheLock lock("rscpcs_cache_status", __LINE__);
    reportHeader(lines, converterCache().header());
}

std::int32_t rscpqc_quality_check(RscpLineWriter write, void* context) {
    if (!converterCache().exists()) {
        return notYetInitialized(501, __LINE__);
    }
    const ConverterCache& cache = converterCache();
    const CacheLock lock("rscpqc_quality_check", __LINE__);
    Lines lines(write, context);
    checkHeader(lines, cache.header(), cache.allocated());
    if (lines.count() == 0) {
        checkTables(lines, cache.header(), cache.memory());
        checkFreeArea(lines, cache.header(), cache.memory());
    }
    if (lines.count() == 0) {
        return 0;
    }
    lines.add("rscpqc_quality_check aborted.");
    return rscpeFail(RSCPEBADO, kUnit, 502, __LINE__, "rscpqc_quality_check aborted.");
}

std::int32_t rscpGetDBCodePages(char (*codePages)[4], std::size_t capacity, std::size_t& count) {
    count = 0;
    if (!conversionAllowed()) {
        return notYetInitialized(503, __LINE__);
    }
    const CacheLock lock("rscpGetDBCodePages", __LINE__);
    const CacheHeader& header = converterCache().header();
    count = header.countDatabaseCodePages;
    converterTrace("%ld code pages", static_cast<long>(count));
    if (count > capacity) {
        return rscpeFail(RSCPETOOLONG, kUnit, 504, __LINE__, "Too many code pages for output");
    }
    for (std::size_t index = 0; index < count; ++index) {
        std::memcpy(codePages[index], header.databaseCodePages[index], 4);
    }
    return 0;
}

std::int32_t rscpict3_invalidate_convert_tables() {
    if (!conversionAllowed()) {
        return notYetInitialized(505, __LINE__);
    }
    const CacheLock lock("rscpict3_invalidate_convert_tables", __LINE__);
    return converterCache().reorganize("invalidation");
}

}  // namespace quorvanti

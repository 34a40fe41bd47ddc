#include "krn/rscp/converter_cache.h"

#include "krn/rscp/code_page_sources.h"
#include "krn/rscp/converter_error.h"
#include "krn/rscp/converter_state.h"
#include "krn/rscp/process_id.h"
#include "krn/time/clock.h"
#include "krn/time/parent_process.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>
#include <type_traits>

namespace quorvanti {
namespace {

constexpr const char* kUnit = "krn/rscp/rscph.c";
constexpr std::uint32_t kAlignment = 16;
constexpr const char* kInitialTimestamp = "2000010100000000";
constexpr std::size_t kBlockSize = 256;

static_assert(std::is_trivially_destructible_v<CacheHeader>);
static_assert(std::is_trivially_copyable_v<SingleByteTable>);

constexpr std::uint32_t aligned(std::size_t size) {
    return static_cast<std::uint32_t>((size + kAlignment - 1) / kAlignment * kAlignment);
}

// Fourteen digits, in UTC.
void writeTimestamp(char (&field)[17]) {
    using namespace std::chrono;
    const sys_seconds now{seconds(currentSeconds())};
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    // Cut to their digits, so that the compiler sees that they fit.
    const auto digits = [](auto value, unsigned modulus) { return static_cast<unsigned>(value) % modulus; };
    std::snprintf(field, sizeof field, "%04u%02u%02u%02u%02u%02u", digits(static_cast<int>(date.year()), 10000u),
                  digits(static_cast<unsigned>(date.month()), 100u), digits(static_cast<unsigned>(date.day()), 100u),
                  digits(time.hours().count(), 100u), digits(time.minutes().count(), 100u),
                  digits(time.seconds().count(), 100u));
}

void writeProcess(std::int64_t (&process)[2]) {
    process[0] = currentProcessId();
    process[1] = parentProcessId();
}

}  // namespace

// Left to the end of the process: threads may still convert while it exits.
ConverterCache& converterCache() {
    union Storage {
        ConverterCache cache;
        Storage() : cache() {}
        ~Storage() {}
    };
    static Storage storage;
    return storage.cache;
}

ConverterCache::ReadAccess::ReadAccess(ConverterCache& cache) : cache_(cache) {
    cache_.readers_.fetch_add(1);
    while (cache_.clearing_.load()) {
        cache_.readers_.fetch_sub(1);
        { const CacheLock untilCleared("readers", __LINE__); }
        std::this_thread::yield();  // the lock holds nobody back while the thread layer is not started
        cache_.readers_.fetch_add(1);
    }
}

std::int32_t ConverterCache::allocate(const CacheSizes& sizes) {
    memory_ = converterHooks().allocateCache(sizes.cache);
    if (memory_ == nullptr) {
        header_ = nullptr;
        return rscpeFail(RSCPEINTERN, kUnit, 301, __LINE__, "cannot malloc for char code convert cache");
    }
    sizes_ = sizes;
    allocated_ = sizes.cache;
    header_ = new (memory_.get()) CacheHeader();
    header_->version = CacheVersion::notGood;
    header_->reorganizationDone = true;
    std::snprintf(header_->reorganized, sizeof header_->reorganized, "%s", kInitialTimestamp);
    writeTimestamp(header_->created);
    writeProcess(header_->creator);
    layOut();
    if (header_->freeArea > header_->firstT7) {
        return rscpeFail(RSCPEINTERN, kUnit, 302, __LINE__, "CCC: T7 area leaves no room for tables");
    }
    return 0;
}

void ConverterCache::layOut() {
    CacheHeader& header = *header_;
    header.layout = kCacheLayout;
    header.length = sizes_.cache;
    header.firstT1 = aligned(sizeof(CacheHeader));
    header.countT1 = 0;
    header.freeArea = header.firstT1;
    header.lengthT7 = std::min(sizes_.t7, sizes_.cache);
    header.firstT7 = (sizes_.cache - header.lengthT7) / kAlignment * kAlignment;
}

const SingleByteTable* ConverterCache::find(const char codePage[4]) {
    const auto number = codePageNumber(codePage);
    if (!number) {
        return nullptr;
    }
    header_->lookups.fetch_add(1, std::memory_order_relaxed);
    const std::uint32_t offset = header_->tableOf[*number].load(std::memory_order_acquire);
    return offset != 0 ? reinterpret_cast<const SingleByteTable*>(memory_.get() + offset) : nullptr;
}

std::int32_t ConverterCache::load(const char codePage[4], Direction direction) {
    CharacterMap characters;
    if (const std::int32_t code = readCodePage(codePage, characters)) {
        return code;
    }
    if (place(codePage, characters) != nullptr) {
        return 0;
    }
    char message[64];
    const char* purpose = direction == Direction::input ? "input" : "output";
    const CodePageDescription* description = findCodePageDescription(codePage);
    if (description != nullptr && description->base[0] != ' ') {
        std::snprintf(message, sizeof message, "Overflow. Loading %4.4s(%4.4s) for %s.", codePage, description->base,
                      purpose);
    } else {
        std::snprintf(message, sizeof message, "Overflow. Loading %4.4s for %s.", codePage, purpose);
    }
    converterLog("%s", message);
    ++header_->overflows;
    if (const std::int32_t code = reorganize("overflow")) {
        return code;
    }
    if (place(codePage, characters) == nullptr) {
        return rscpeFail(RSCPEINTERN, kUnit, 303, __LINE__, message);
    }
    return 0;
}

const SingleByteTable* ConverterCache::place(const char codePage[4], const CharacterMap& characters) {
    std::uint8_t blockOf[256] = {};
    std::size_t blocks = 1;
    for (const std::uint16_t character : characters) {
        std::uint8_t& block = blockOf[character >> 8];
        if (character != kNoCharacter && block == 0) {
            block = static_cast<std::uint8_t>(blocks++);
        }
    }
    CacheHeader& header = *header_;
    const std::uint32_t size = aligned(sizeof(SingleByteTable) + blocks * kBlockSize);
    if (size > header.firstT7 - header.freeArea) {
        return nullptr;
    }
    auto* table = new (memory_.get() + header.freeArea) SingleByteTable;
    auto* toByte = reinterpret_cast<std::uint8_t*>(table + 1);
    std::memcpy(table->codePage, codePage, 4);
    table->size = size;
    table->ascii = true;
    std::copy(characters.begin(), characters.end(), table->characters);
    std::copy(std::begin(blockOf), std::end(blockOf), table->blockOf);
    std::fill_n(toByte, blocks * kBlockSize, std::uint8_t{0});
    for (std::size_t byte = characters.size(); byte-- > 0;) {  // of several bytes for a character the lowest stays
        const std::uint16_t character = characters[byte];
        table->ascii = table->ascii && (byte >= 0x80 || character == byte);
        if (character != kNoCharacter) {
            toByte[blockOf[character >> 8] * kBlockSize + (character & 0xFF)] = static_cast<std::uint8_t>(byte);
        }
    }
    header.tableOf[*codePageNumber(codePage)].store(header.freeArea, std::memory_order_release);
    header.freeArea += size;
    ++header.countT1;
    return table;
}

void ConverterCache::clear() {
    clearing_.store(true);
    converterTrace("WaitBeforeClearing...");
    while (readers_.load() != 0) {
        std::this_thread::yield();
    }
    converterTrace("...Clearing CCCC now.");
    CacheHeader& header = *header_;
    for (auto& offset : header.tableOf) {
        offset.store(0, std::memory_order_relaxed);
    }
    std::memset(memory_.get() + header.firstT1, 0, header.freeArea - header.firstT1);
    layOut();
    generation_.fetch_add(1, std::memory_order_release);
    clearing_.store(false);
}

std::int32_t ConverterCache::fill() {
    CacheHeader& header = *header_;
    header.version = CacheVersion::halfCooked;
    std::size_t count = 0;
    const std::int32_t code = readDatabaseCodePages(header.databaseCodePages, kMaxDatabaseCodePages, count);
    header.countDatabaseCodePages = static_cast<std::uint32_t>(code == 0 ? count : 0);
    if (code == RSCPEIO) {
        setRscpState(RscpState::reinitialize);
        converterLog("I/O error. Code page converter switched to reinitialize state. CCC.reorg_done=%c.",
                     header.reorganizationDone ? 'T' : 'F');
    }
    if (code == 0) {
        header.version = CacheVersion::threeQuarterCooked;
    }
    return code;
}

std::int32_t ConverterCache::reorganize(const char* reason) {
    CacheHeader& header = *header_;
    converterLog("CCC cache with %ld bytes reorganizing because of %.*s.", static_cast<long>(header.length),
                 static_cast<int>(std::strlen(reason)), reason);
    if (converterHooks().profileParameter("rscp/ccc/dump") != nullptr) {
        rscpcs_cache_status([](void*, const char* line) { converterLog("%s", line); }, nullptr);
    }
    setRscpState(RscpState::reinitialize);
    std::snprintf(header.reason, sizeof header.reason, "%s", reason);
    writeProcess(header.invalidator);
    header.reorganizationDone = false;
    clear();
    if (const std::int32_t code = fill()) {
        return code;
    }
    header.version = CacheVersion::initialized;
    header.reorganizationDone = true;
    ++header.reorganizationVersion;
    ++header.reorganizationCount;
    writeTimestamp(header.reorganized);
    converterLog("CCC cache with %ld bytes reorganized.", static_cast<long>(header.length));
    setRscpState(RscpState::initialized);
    converterLog("Code page converter switched back to initialized state. CCC.reorg_done=%c.", 'T');
    return 0;
}

}  // namespace quorvanti

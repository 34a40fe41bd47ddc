// The cache of conversion tables: one piece of memory of fixed size, filled on demand, emptied when it overflows. All
// threads read it at once; what changes it holds the cache lock, and emptying it also waits until nobody reads.
#pragma once

#include "krn/rscp/code_pages.h"
#include "krn/rscp/converter_hooks.h"

#include <atomic>
#include <cstdint>

namespace quorvanti {

// One single-byte code page: T1 gives the character of a byte value, T3 the byte value of a character. T3 has a block
// for every high byte that occurs; they follow the record, and block 0, shared by all the others, is zero.
struct SingleByteTable {
    char codePage[4];
    std::uint32_t size;
    bool ascii;  // the lower half is US-ASCII
    std::uint16_t characters[256];
    std::uint8_t blockOf[256];

    const std::uint8_t* blocks() const { return reinterpret_cast<const std::uint8_t*>(this + 1); }
    // -1 when the code page lacks the character.
    std::int32_t byteOf(std::uint32_t character) const {
        if (character >= kNoCharacter) {
            return -1;
        }
        const std::uint8_t byte = blocks()[blockOf[character >> 8] * 256U + (character & 0xFF)];
        return characters[byte] == character ? byte : -1;
    }
};

enum class CacheVersion : std::uint32_t { notGood, halfCooked, threeQuarterCooked, initialized };

inline constexpr std::uint32_t kCacheLayout = 1;
inline constexpr std::size_t kMaxDatabaseCodePages = 64;

// Stands at the front of the memory.
struct CacheHeader {
    std::uint32_t layout;
    CacheVersion version;
    char created[17];
    char reorganized[17];
    std::uint32_t reorganizationVersion;
    std::uint32_t reorganizationCount;
    bool reorganizationDone;
    char reason[41];
    std::int64_t creator[2];  // process id and parent process id
    std::int64_t invalidator[2];
    std::uint32_t length;
    std::uint32_t firstT1;
    std::uint32_t countT1;
    std::uint32_t freeArea;
    std::uint32_t firstT7;  // end of the free area
    std::uint32_t lengthT7;
    std::uint32_t overflows;
    std::uint32_t attaches;
    std::uint32_t countDatabaseCodePages;
    char databaseCodePages[kMaxDatabaseCodePages][4];
    std::atomic<std::uint32_t> lookups;
    std::atomic<std::uint32_t> tableOf[10000];  // offset of a code page's table, 0: not loaded
};

struct CacheSizes {
    std::uint32_t cache;
    std::uint32_t t7;
};

class ConverterCache {
public:
    // For the length of a scope, no table disappears. Must not be held while a table is loaded.
    class ReadAccess {
    public:
        explicit ReadAccess(ConverterCache& cache);
        ~ReadAccess() { cache_.readers_.fetch_sub(1); }
        ReadAccess(const ReadAccess&) = delete;
        ReadAccess& operator=(const ReadAccess&) = delete;

    private:
        ConverterCache& cache_;
    };

    // rscph_AllocateCCCC: 0, or the recorded error.
    std::int32_t allocate(const CacheSizes& sizes);
    bool exists() const { return memory_ != nullptr; }
    CacheHeader& header() const { return *header_; }
    std::size_t allocated() const { return allocated_; }
    const std::byte* memory() const { return memory_.get(); }

    // Every emptying makes a new generation; tables found in an older one are gone.
    std::uint32_t generation() const { return generation_.load(std::memory_order_acquire); }
    // Under read access or the cache lock; null when it is not loaded.
    const SingleByteTable* find(const char codePage[4]);

    // The rest is called under the cache lock.
    enum class Direction { input, output };
    std::int32_t load(const char codePage[4], Direction direction);
    // Reads what does not wait for demand.
    std::int32_t fill();
    // Throws every table away and fills the cache anew.
    std::int32_t reorganize(const char* reason);

private:
    const SingleByteTable* place(const char codePage[4], const CharacterMap& characters);
    void layOut();
    void clear();

    CacheMemory memory_;
    CacheHeader* header_ = nullptr;
    std::size_t allocated_ = 0;
    CacheSizes sizes_{};
    std::atomic<std::uint32_t> generation_{1};
    std::atomic<std::uint32_t> readers_{0};
    std::atomic<bool> clearing_{false};
};

ConverterCache& converterCache();

}  // namespace quorvanti

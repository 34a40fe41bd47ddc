// Initialization of the converter.
#pragma once

#include "krn/rscp/converter_cache.h"

#include <cstdint>

namespace quorvanti {

inline constexpr long kDefaultCacheSize = 6000000;
inline constexpr long kSmallestCacheSize = 170000;
inline constexpr long kLargestCacheSize = 0xFFFC00;
inline constexpr long kSmallestT7Size = 200;
inline constexpr long kHighestInternalCode = 2442;
inline constexpr long kHighestUnicode = 0x10FFFF;

// What initialization took from the profile.
struct ConverterSettings {
    CacheSizes sizes{};
    long highestInternalCode = kHighestInternalCode;
    long highestUnicode = kHighestUnicode;
    std::uint16_t iconIntroducer = 0;
    std::uint16_t printControlIntroducer = 0;
    std::uint16_t frameIntroducer = 0;
    char replacementUtf8[8] = "";
};
const ConverterSettings& converterSettings();

// 0, or the recorded error.
std::int32_t find_cachesizes(ConverterSettings& settings);

// Initializes when that was not done; `caller` is named in the log.
std::int32_t rscpi_init_just_in_case(const char* caller);

}  // namespace quorvanti

// The code page converter: objects that turn text from one code page into another. Code pages are named by four
// digits held as four characters, never as a number.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvanti {

inline constexpr std::int32_t RSCPEINTERN = 1;
inline constexpr std::int32_t RSCPEIO = 8;
inline constexpr std::int32_t RSCPEINVAL = 16;
inline constexpr std::int32_t RSCPETOOLONG = 32;
inline constexpr std::int32_t RSCPECALL = 64;
inline constexpr std::int32_t RSCPENOOBJ = 128;
inline constexpr std::int32_t RSCPEBUSY = 256;
inline constexpr std::int32_t RSCPEUNIQ = 512;
inline constexpr std::int32_t RSCPENOCONV = 2048;
inline constexpr std::int32_t RSCPEBADO = 4096;
inline constexpr std::int32_t RSCPEODATA = 8192;
inline constexpr std::int32_t RSCPEROLLBACK = 16384;

// Values of the policy fields below. Any other value behaves like 0.
enum RscpBroken : std::int32_t { kBrokenStopFinally, kBrokenLikeMiss, kBrokenStopRestartable };
enum RscpFill : std::int32_t { kFillNever, kFillNulls, kFillSpaces, kFillAndTruncateSpaces };
enum RscpDrop : std::int32_t { kDropStop, kDropLikeMiss, kDropRemove, kDropSpace };

// Caller-owned; starts as a copy of rscpCObjTemplate. Never shared by threads during a conversion.
struct rscpCObj_t {
    std::uint8_t head[4];
    char sourceCodePage[4];
    char targetCodePage[4];
    std::uint16_t substitution;
    std::uint8_t optionFlags[3];
    std::int32_t brokenPolicy;
    std::int32_t fillPolicy;
    std::int32_t uninterpreted;
    std::int32_t useF1;
    std::int32_t dropPolicy;
    std::int32_t controlCodeConversion;
    std::int32_t ownCharacterConversion;
    std::int32_t method;
    std::uint8_t activated;
    char loadedSource[4];
    char loadedTarget[4];
    std::uint32_t optionWord;
    std::uint32_t substituted;  // characters replaced, by the substitution character or a space
    std::uint32_t removed;      // characters left out
    std::uint8_t inputKind;
    std::uint8_t outputKind;
    // Prepared by activation, valid while the cache has the generation noted here; 0: nothing is prepared.
    std::uint32_t cacheGeneration;
    const void* inputTable;
    const void* outputTable;
    // What the surroundings answered at activation.
    char language;
    char ownCodePage[4];
};
extern const rscpCObj_t rscpCObjTemplate;

// Sets what the library's callers set: broken and dropped characters like missing ones, own characters tried, control
// codes refused, no fill.
void rscpCStandardSettings(rscpCObj_t& object, const char source[4], const char target[4]);

std::int32_t rscpCInit();
// `reset` also clears what earlier conversions counted. `flag` is accepted and has no effect.
std::int32_t rscpCActivate(rscpCObj_t* object, bool reset, bool flag);
// Both positions are moved past what was consumed and produced, also on error.
std::int32_t rscpCConvert(rscpCObj_t* object, std::uint8_t*& destination, std::uint8_t* destinationEnd,
                          const std::uint8_t*& source, const std::uint8_t* sourceEnd);

// Null code page: the default code page.
std::int32_t rscpCToUtf8(const char* codePage, std::uint8_t*& destination, std::uint8_t* destinationEnd,
                         const std::uint8_t*& source, const std::uint8_t* sourceEnd);
std::int32_t rscpCFromUtf8(const char* codePage, std::uint8_t*& destination, std::uint8_t* destinationEnd,
                           const std::uint8_t*& source, const std::uint8_t* sourceEnd);

// All text output of the converter is handed over line by line, without line ends.
using RscpLineWriter = void (*)(void* context, const char* line);

// Writes the calling thread's error report, boxed in 72 columns.
void rscpeReport(RscpLineWriter write, void* context);
// Writes the cache report.
void rscpcs_cache_status(RscpLineWriter write, void* context);
// Validates the cache and writes what is wrong with it: 0 sound, RSCPEBADO damaged, RSCPECALL without a cache.
std::int32_t rscpqc_quality_check(RscpLineWriter write, void* context);
// Lists the code pages of the database; `count` is their number, also when they do not fit.
std::int32_t rscpGetDBCodePages(char (*codePages)[4], std::size_t capacity, std::size_t& count);
// Throws the loaded tables away; they are loaded again on demand, and activated objects follow by themselves.
std::int32_t rscpict3_invalidate_convert_tables();

}  // namespace quorvanti

// Converters between UTF-8 and the fixed-width Unicode forms: UCS-2, UTF-16 and UCS-4, native and byte-swapped, with
// control codes allowed or refused.
#pragma once

#include <cstdint>

#include "krn/rscp/utf_instructions.h"

namespace quorvanti {

// Error classes, single bits; the numbers are the code page converter's.
inline constexpr std::int32_t kUtfDestinationFull = 32;
inline constexpr std::int32_t kUtfSourceExhausted = 512;
inline constexpr std::int32_t kUtfNotConvertible = 2048;

// Every error of a member is reported here, and the member returns what the hook returns. The five trailing arguments
// are always zero from the members.
using UtfErrorHook = std::int32_t (*)(std::int32_t errorClass, char kind, std::int32_t value, const char* module,
                                      std::int32_t site, std::int32_t line, const char* message, const char* number,
                                      const char* detail, std::int32_t detailLength, std::int32_t reserved1,
                                      std::int32_t reserved2);
// Null restores the default, which returns the error class.
void setUtfErrorHook(UtfErrorHook hook);

// Positions are moved past what was consumed and produced, also on error. 0 when the whole source was consumed.
using UtfEncoder = std::int32_t (*)(const std::uint8_t*& source, const std::uint8_t* sourceEnd,
                                    std::uint8_t*& destination, std::uint8_t* destinationEnd);
// `substitute`: one unit of the target form in native order (uint16_t or uint32_t), or null to stop at what cannot be
// converted; `substituted` counts, may be null.
using UtfDecoder = std::int32_t (*)(const std::uint8_t*& source, const std::uint8_t* sourceEnd,
                                    std::uint8_t*& destination, std::uint8_t* destinationEnd, const void* substitute,
                                    std::uint32_t* substituted);

enum class WideForm { ucs2, utf16, ucs4 };
enum class ByteOrder { native, swapped };
enum class ControlCodes { allowed, refused };

// All instructions give the same results; only available ones may be asked for.
UtfEncoder utfEncoder(WideForm form, ByteOrder order, ControlCodes controls,
                      UtfInstructions instructions = fastestUtfInstructions());
UtfDecoder utfDecoder(WideForm form, ByteOrder order, ControlCodes controls,
                      UtfInstructions instructions = fastestUtfInstructions());

}  // namespace quorvanti

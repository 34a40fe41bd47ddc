// What the converter knows about code pages without reading anything: descriptions, and the characters of the
// single-byte code pages that are built in.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace quorvanti {

// Kinds of code pages as far as conversion tells them apart; single-byte ones are NLS_not. The order is fixed, traces
// and messages name them by index.
enum class NlsKind : std::uint8_t {
    NLS_not,
    NLS_EUC,
    NLS_JIS,
    NLS_shiftJIS,
    NLS_tradiCh,
    NLS_GBK_Ch,
    NLS_corea,
    NLS_HK_PUA_Ch,
    NLS_HK_U31_Ch,
    NLS_2312_80_Ch,
    NLS_18030_Ch,
    NLS_UCS_2h,
    NLS_UCS_2l,
    NLS_UCS_4h,
    NLS_UCS_4l,
    NLS_UTF_8,
    NLS_UTF_16h,
    NLS_UTF_16l,
    NLS_KAV16,
    NLS_GOF_A,
    NLS_GOF_E,
    NLS_shiftJIS_L1,
    NLS_tradiCh_sJIS_L1,
    NLS_simplCh_sJIS_L1,
    NLS_corea_sJIS_L1,
    NLS_AsianUni,
};
// "unknown(%d)" outside the list.
const char* nlsKindName(std::int32_t kind);

struct CodePageDescription {
    char number[5];
    NlsKind kind;
    bool iso2022;
    char base[5];  // blank: stands on its own
    const char* description;
};
std::span<const CodePageDescription> codePageDescriptions();
// Null for a code page that is not described; a single-byte one may still come from a file.
const CodePageDescription* findCodePageDescription(const char number[4]);

bool sameCodePage(const char left[4], const char right[4]);
// The number of a code page, none unless it consists of four digits.
std::optional<std::uint16_t> codePageNumber(const char codePage[4]);

// The Unicode characters of the 256 byte values.
inline constexpr std::uint16_t kNoCharacter = 0xFFFF;
using CharacterMap = std::array<std::uint16_t, 256>;
// False when the code page is not built in.
bool builtInCharacters(const char codePage[4], CharacterMap& characters);

}  // namespace quorvanti

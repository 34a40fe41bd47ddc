#include "krn/rscp/code_pages.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace quorvanti {
namespace {

constexpr const char* kNlsKindNames[] = {
    "NLS_not",
    "NLS_EUC",
    "NLS_JIS",
    "NLS_shiftJIS",
    "NLS_tradiCh",
    "NLS_GBK_Ch",
    "NLS_corea",
    "NLS_HK_PUA_Ch",
    "NLS_HK_U31_Ch",
    "NLS_2312_80_Ch",
    "NLS_18030_Ch",
    "NLS_UCS_2h",
    "NLS_UCS_2l",
    "NLS_UCS_4h",
    "NLS_UCS_4l",
    "NLS_UTF_8",
    "NLS_UTF_16h",
    "NLS_UTF_16l",
    "NLS_KAV16",
    "NLS_GOF_A",
    "NLS_GOF_E",
    "NLS_shiftJIS_L1",
    "NLS_tradiCh+sJIS_L1",
    "NLS_simplCh+sJIS_L1",
    "NLS_corea+sJIS_L1",
    "NLS_AsianUni",
};
static_assert(std::size(kNlsKindNames) == static_cast<std::size_t>(NlsKind::NLS_AsianUni) + 1);

// clang-format off
constexpr CodePageDescription kDescriptions[] = {
    {"1100", NlsKind::NLS_not,       false, "    ", "internal Latin-1, like ISO 8859-1"},
    {"1101", NlsKind::NLS_not,       false, "1100", "7-bit US ASCII"},
    {"1160", NlsKind::NLS_not,       false, "1100", "Microsoft 1252"},
    {"4000", NlsKind::NLS_KAV16,     false, "    ", "internal 16-bit"},
    {"4100", NlsKind::NLS_UCS_2h,    false, "    ", "UCS-2 big-endian"},
    {"4101", NlsKind::NLS_UCS_2l,    false, "    ", "UCS-2 little-endian"},
    {"4102", NlsKind::NLS_UTF_16h,   false, "    ", "UTF-16BE Unicode / ISO/IEC 10646"},
    {"4103", NlsKind::NLS_UTF_16l,   false, "    ", "UTF-16LE Unicode / ISO/IEC 10646"},
    {"4104", NlsKind::NLS_UCS_4h,    false, "    ", "UTF-32BE Unicode / ISO/IEC 10646"},
    {"4105", NlsKind::NLS_UCS_4l,    false, "    ", "UTF-32LE Unicode / ISO/IEC 10646"},
    {"4110", NlsKind::NLS_UTF_8,     false, "    ", "UTF-8 Unicode / ISO/IEC 10646"},
    {"4120", NlsKind::NLS_UTF_8,     false, "    ", "UTF-8 pure"},
    {"6100", NlsKind::NLS_AsianUni,  false, "    ", "unification of several code pages"},
    {"6200", NlsKind::NLS_AsianUni,  false, "    ", "unification of several code pages"},
    {"6500", NlsKind::NLS_AsianUni,  false, "    ", "unification of several code pages"},
    {"8341", NlsKind::NLS_HK_U31_Ch, false, "    ", "Traditional Chinese HKSCS"},
};

// windows-1252 from 0x80 to 0x9F, as the Unicode consortium publishes it (CP1252.TXT).
constexpr std::array<std::uint16_t, 32> kWindows1252 = {
    0x20AC, kNoCharacter, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, kNoCharacter, 0x017D, kNoCharacter,
    kNoCharacter, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, kNoCharacter, 0x017E, 0x0178,
};
// clang-format on

}  // namespace

const char* nlsKindName(std::int32_t kind) {
    if (kind >= 0 && kind < static_cast<std::int32_t>(std::size(kNlsKindNames))) {
        return kNlsKindNames[kind];
    }
    thread_local char unknown[24];
    std::snprintf(unknown, sizeof unknown, "unknown(%d)", kind);
    return unknown;
}

std::span<const CodePageDescription> codePageDescriptions() {
    return kDescriptions;
}

const CodePageDescription* findCodePageDescription(const char number[4]) {
    const auto row = std::ranges::find_if(kDescriptions, [number](const CodePageDescription& description) {
        return sameCodePage(description.number, number);
    });
    return row != std::end(kDescriptions) ? &*row : nullptr;
}

bool sameCodePage(const char left[4], const char right[4]) {
    return std::memcmp(left, right, 4) == 0;
}

std::optional<std::uint16_t> codePageNumber(const char codePage[4]) {
    std::uint16_t number = 0;
    for (const char digit : std::string_view(codePage, 4)) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        number = static_cast<std::uint16_t>(number * 10 + (digit - '0'));
    }
    return number;
}

bool builtInCharacters(const char codePage[4], CharacterMap& characters) {
    const CodePageDescription* description = findCodePageDescription(codePage);
    if (description == nullptr || description->kind != NlsKind::NLS_not) {
        return false;
    }
    for (std::size_t byte = 0; byte < characters.size(); ++byte) {
        characters[byte] = static_cast<std::uint16_t>(byte);
    }
    if (sameCodePage(codePage, "1101")) {
        std::fill(characters.begin() + 0x80, characters.end(), kNoCharacter);
    } else if (sameCodePage(codePage, "1160")) {
        std::ranges::copy(kWindows1252, characters.begin() + 0x80);
    }
    return true;
}

}  // namespace quorvanti

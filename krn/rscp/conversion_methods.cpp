#include "krn/rscp/conversion_methods.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <iterator>

namespace quorvanti {
namespace {

constexpr const char* kMethodNames[] = {
    "unknownMeth",  "deactivated",    "direct",         "static",           "l_tab",          "mbconv_tab",
    "l_mbconv_tab", "mbget_tab",      "l_mbget_tab",    "tab_mbtunnel",     "tab_mbcopy",     "1B_to_1B",
    "U2_to_U8",     "U2sw_to_U8",     "U8_to_U2",       "U8_to_U2sw",       "U4_to_U8",       "U4sw_to_U8",
    "U8_to_U4",     "U8_to_U4sw",     "U6_to_U8",       "U6sw_to_U8",       "U8_to_U6",       "U8_to_U6sw",
    "U2_swap",      "U4_swap",        "mbs16_tab",      "l_mbs16_tab",      "BRUTE_A_U2B",    "BRUTE_A_U2L",
    "BRUTE_U2B_A",  "BRUTE_U2L_A",    "nu16be_get_tab", "l_nu16be_get_tab", "nu16le_get_tab", "l_nu16le_get_tab",
    "ncu16get_tab", "l_ncu16get_tab", "su16get_tab",    "l_su16get_tab",    "2022_tab",       "mbconv_2022tab",
    "tab_i1b",      "tab_i1b_o1b",    "tab_i1b_o1s",    "tab_o1b",          "tab_o1s",        "A7_to_U6",
    "A7_to_U6sw",
};
static_assert(std::size(kMethodNames) == static_cast<std::size_t>(kMethodCount));

// The table below calls the big-endian forms swapped.
static_assert(std::endian::native == std::endian::little);

constexpr NlsKind kKinds[] = {NlsKind::NLS_not,     NlsKind::NLS_UCS_2h, NlsKind::NLS_UCS_2l, NlsKind::NLS_UTF_16h,
                              NlsKind::NLS_UTF_16l, NlsKind::NLS_UCS_4h, NlsKind::NLS_UCS_4l, NlsKind::NLS_UTF_8};
constexpr std::size_t kKindCount = std::size(kKinds);

using enum Method;
// Different code pages of the kinds above, a source a row, a target a column.
// clang-format off
constexpr Method kMethods[kKindCount][kKindCount] = {
    // NLS_not          UCS_2h          UCS_2l          UTF_16h         UTF_16l         UCS_4h          UCS_4l          UTF_8
    {oneByteToOneByte,  BRUTE_A_U2B,    BRUTE_A_U2L,    BRUTE_A_U2B,    BRUTE_A_U2L,    tab_i1b,        tab_i1b,        tab_i1b   },  // NLS_not
    {BRUTE_U2B_A,       direct,         U2_swap,        nu16be_get_tab, nu16be_get_tab, nu16be_get_tab, nu16be_get_tab, U2sw_to_U8},  // UCS_2h
    {BRUTE_U2L_A,       U2_swap,        direct,         nu16le_get_tab, nu16le_get_tab, nu16le_get_tab, nu16le_get_tab, U2_to_U8  },  // UCS_2l
    {BRUTE_U2B_A,       nu16be_get_tab, nu16be_get_tab, direct,         U2_swap,        nu16be_get_tab, nu16be_get_tab, U6sw_to_U8},  // UTF_16h
    {BRUTE_U2L_A,       nu16le_get_tab, nu16le_get_tab, U2_swap,        direct,         nu16le_get_tab, nu16le_get_tab, U6_to_U8  },  // UTF_16l
    {tab_o1b,           mbget_tab,      mbget_tab,      mbget_tab,      mbget_tab,      direct,         U4_swap,        U4sw_to_U8},  // UCS_4h
    {tab_o1b,           mbget_tab,      mbget_tab,      mbget_tab,      mbget_tab,      U4_swap,        direct,         U4_to_U8  },  // UCS_4l
    {tab_o1b,           U8_to_U2sw,     U8_to_U2,       U8_to_U6sw,     U8_to_U6,       U8_to_U4sw,     U8_to_U4,       tab_mbcopy},  // UTF_8
};

// What takes the place of a shortcut from a source of the kind.
constexpr Method kTableMethods[kKindCount] = {
    // NLS_not, UCS_2h,         UCS_2l,         UTF_16h,        UTF_16l,        UCS_4h,    UCS_4l,    UTF_8
    tab_i1b,    nu16be_get_tab, nu16le_get_tab, nu16be_get_tab, nu16le_get_tab, mbget_tab, mbget_tab, tab_mbcopy,
};
// clang-format on

bool isShortcut(Method method) {
    return method == U4_swap || isTracedShortcut(method);
}

Method tableMethod(std::size_t source, std::size_t target) {
    if (kKinds[target] == NlsKind::NLS_not) {
        return kKinds[source] == NlsKind::NLS_not ? oneByteToOneByte : tab_o1b;
    }
    return kTableMethods[source];
}

}  // namespace

const char* methodName(std::int32_t method) {
    if (method >= 0 && method < kMethodCount) {
        return kMethodNames[method];
    }
    thread_local char unknown[24];
    std::snprintf(unknown, sizeof unknown, "unknown(%d)", method);
    return unknown;
}

Method chooseMethod(const CodePageDescription& source, const CodePageDescription& target, bool shortcuts) {
    const bool identical = sameCodePage(source.number, target.number);
    if (identical && shortcuts) {
        return direct;
    }
    const auto from = static_cast<std::size_t>(std::ranges::find(kKinds, source.kind) - std::begin(kKinds));
    const auto to = static_cast<std::size_t>(std::ranges::find(kKinds, target.kind) - std::begin(kKinds));
    if (from == kKindCount || to == kKindCount || source.iso2022 || target.iso2022) {
        return unknownMeth;
    }
    const Method method = kMethods[from][to];
    return identical || (!shortcuts && isShortcut(method)) ? tableMethod(from, to) : method;
}

bool isTracedShortcut(Method method) {
    switch (method) {
        case direct:
        case U2_swap:
        case BRUTE_A_U2B:
        case BRUTE_A_U2L:
        case BRUTE_U2B_A:
        case BRUTE_U2L_A:
            return true;
        default:
            return false;
    }
}

}  // namespace quorvanti

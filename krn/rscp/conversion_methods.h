// Which method serves which pair of code pages.
#pragma once

#include "krn/rscp/code_pages.h"

#include <cstdint>

namespace quorvanti {

// The order is fixed: objects hold a method by its index, traces print its name. Several names belong to families of
// tables that this library does not have; no pair is served by them.
enum class Method : std::int32_t {
    unknownMeth,
    deactivated,
    direct,
    staticTable,
    l_tab,
    mbconv_tab,
    l_mbconv_tab,
    mbget_tab,
    l_mbget_tab,
    tab_mbtunnel,
    tab_mbcopy,
    oneByteToOneByte,
    U2_to_U8,
    U2sw_to_U8,
    U8_to_U2,
    U8_to_U2sw,
    U4_to_U8,
    U4sw_to_U8,
    U8_to_U4,
    U8_to_U4sw,
    U6_to_U8,
    U6sw_to_U8,
    U8_to_U6,
    U8_to_U6sw,
    U2_swap,
    U4_swap,
    mbs16_tab,
    l_mbs16_tab,
    BRUTE_A_U2B,
    BRUTE_A_U2L,
    BRUTE_U2B_A,
    BRUTE_U2L_A,
    nu16be_get_tab,
    l_nu16be_get_tab,
    nu16le_get_tab,
    l_nu16le_get_tab,
    ncu16get_tab,
    l_ncu16get_tab,
    su16get_tab,
    l_su16get_tab,
    iso2022_tab,
    mbconv_2022tab,
    tab_i1b,
    tab_i1b_o1b,
    tab_i1b_o1s,
    tab_o1b,
    tab_o1s,
    A7_to_U6,
    A7_to_U6sw,
};
inline constexpr std::int32_t kMethodCount = static_cast<std::int32_t>(Method::A7_to_U6sw) + 1;
// "unknown(%d)" outside the list.
const char* methodName(std::int32_t method);

// unknownMeth when the pair is unsupported. Without shortcuts, pairs that could do without tables go through them.
Method chooseMethod(const CodePageDescription& source, const CodePageDescription& target, bool shortcuts);
// Whether the traced activation writes a line about having taken this shortcut.
bool isTracedShortcut(Method method);

}  // namespace quorvanti

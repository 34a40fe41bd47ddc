#include "krn/rscp/conversion_methods.h"

#include "krn/rscp/converter_options.h"
#include "tests/krn/rscp/converter_fixture.h"

#include <limits>
#include <sstream>

namespace quorvanti::test {
namespace {

constexpr const char* kCodePages[] = {"1100", "1101", "1160", "4100", "4101", "4102",
                                      "4103", "4104", "4105", "4110", "4120"};

TEST(ConversionMethods, NamesInTheirOrder) {
    const std::string expected =
        "unknownMeth deactivated direct static l_tab mbconv_tab l_mbconv_tab mbget_tab l_mbget_tab tab_mbtunnel "
        "tab_mbcopy 1B_to_1B U2_to_U8 U2sw_to_U8 U8_to_U2 U8_to_U2sw U4_to_U8 U4sw_to_U8 U8_to_U4 U8_to_U4sw U6_to_U8 "
        "U6sw_to_U8 U8_to_U6 U8_to_U6sw U2_swap U4_swap mbs16_tab l_mbs16_tab BRUTE_A_U2B BRUTE_A_U2L BRUTE_U2B_A "
        "BRUTE_U2L_A nu16be_get_tab l_nu16be_get_tab nu16le_get_tab l_nu16le_get_tab ncu16get_tab l_ncu16get_tab "
        "su16get_tab l_su16get_tab 2022_tab mbconv_2022tab tab_i1b tab_i1b_o1b tab_i1b_o1s tab_o1b tab_o1s A7_to_U6 "
        "A7_to_U6sw ";
    std::string names;
    for (std::int32_t method = 0; method < kMethodCount; ++method) {
        names.append(methodName(method)).append(" ");
    }
    EXPECT_EQ(names, expected);
    EXPECT_STREQ(methodName(kMethodCount), "unknown(49)");
    EXPECT_STREQ(methodName(-1), "unknown(-1)");
}

TEST(ConversionMethods, KindNamesInTheirOrder) {
    const std::string expected =
        "NLS_not NLS_EUC NLS_JIS NLS_shiftJIS NLS_tradiCh NLS_GBK_Ch NLS_corea NLS_HK_PUA_Ch NLS_HK_U31_Ch "
        "NLS_2312_80_Ch NLS_18030_Ch NLS_UCS_2h NLS_UCS_2l NLS_UCS_4h NLS_UCS_4l NLS_UTF_8 NLS_UTF_16h NLS_UTF_16l "
        "NLS_KAV16 NLS_GOF_A NLS_GOF_E NLS_shiftJIS_L1 NLS_tradiCh+sJIS_L1 NLS_simplCh+sJIS_L1 NLS_corea+sJIS_L1 "
        "NLS_AsianUni ";
    std::string names;
    for (std::int32_t kind = 0; kind <= static_cast<std::int32_t>(NlsKind::NLS_AsianUni); ++kind) {
        names.append(nlsKindName(kind)).append(" ");
    }
    EXPECT_EQ(names, expected);
    EXPECT_STREQ(nlsKindName(26), "unknown(26)");
    EXPECT_STREQ(nlsKindName(-1), "unknown(-1)");
}

TEST(ConversionMethods, PolicyNames) {
    EXPECT_STREQ(rscpbrokenName(0), ".=stop_finally");
    EXPECT_STREQ(rscpbrokenName(1), "m=like_miss");
    EXPECT_STREQ(rscpbrokenName(2), "r=stop_restartable");
    EXPECT_STREQ(rscpbrokenName(3), "?illigal_rscpbroken");
    EXPECT_STREQ(rscpfillName(0), ".=never");
    EXPECT_STREQ(rscpfillName(1), "0=nulls");
    EXPECT_STREQ(rscpfillName(2), "s=spaces");
    EXPECT_STREQ(rscpfillName(3), "t=and_trunc_spaces");
    EXPECT_STREQ(rscpfillName(-1), "?illigal_rscpfill");
    EXPECT_STREQ(useF1Name(0), "?illegal_useF1");
    EXPECT_STREQ(useF1Name(1), "n=not");
    EXPECT_STREQ(useF1Name(2), "o=only");
    EXPECT_STREQ(useF1Name(3), "e=enforce");
    EXPECT_STREQ(useF1Name(4), "t=try");
    EXPECT_STREQ(useF1Name(5), "c=customizable");
    EXPECT_STREQ(useF1Name(6), "?illegal_useF1");
    EXPECT_STREQ(dropName(0), ".=stop");
    EXPECT_STREQ(dropName(1), "m=like_miss");
    EXPECT_STREQ(dropName(2), "r=remove");
    EXPECT_STREQ(dropName(3), "s=space");
    EXPECT_STREQ(dropName(4), "?illegal_drop");
    EXPECT_STREQ(rscpCtrlCodeCvName(0), "i=illegal");
    EXPECT_STREQ(rscpCtrlCodeCvName(1), "t=try");
    EXPECT_STREQ(rscpCtrlCodeCvName(2), "?illegal_rscpCtrlCodeCv");
    EXPECT_STREQ(rscpKAVOwnChCvName(0), "i=ignore");
    EXPECT_STREQ(rscpKAVOwnChCvName(1), "t=try");
    EXPECT_STREQ(rscpKAVOwnChCvName(std::numeric_limits<std::int32_t>::min()), "?illegal_rscpKAVOwnChCv");
}

// The document's table, as the code would write it.
TEST_F(ConverterTest, DocumentShowsWhichMethodServesWhichPair) {
    std::ostringstream table;
    table << "| from \\ to |";
    for (const char* target : kCodePages) {
        table << ' ' << target << " |";
    }
    table << "\n|---|";
    for (std::size_t column = 0; column < std::size(kCodePages); ++column) {
        table << "---|";
    }
    table << '\n';
    for (const char* source : kCodePages) {
        table << "| **" << source << "** |";
        for (const char* target : kCodePages) {
            table << ' ' << methodName(activated(source, target).method) << " |";
        }
        table << '\n';
    }
    EXPECT_THAT(readFile(QUORVANTI_DOCS "/character-conversion.md"), testing::HasSubstr(table.str()));
}

}  // namespace
}  // namespace quorvanti::test

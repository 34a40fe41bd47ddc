// The names of the crypto library's entry points and their places in the function table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quorvanti {

struct SsfLoadRow {
    const char* name;
    std::int32_t kind;
    std::size_t slot;
    std::size_t flag;
};

// In load order. Slots and flags differ from SsfDecodeCrlArray on, deliberately: both columns are part of the table's
// layout.
// clang-format off
inline constexpr std::array<SsfLoadRow, 65> ssfLoadList{{
    // name                        kind  slot flag
    {"SsfVersion",                0x001,   0,   0},
    {"SsfEncode",                 0x001,   6,   6},
    {"SsfDecode",                 0x001,   7,   7},
    {"SsfSign",                   0x001,   2,   2},
    {"SsfVerify",                 0x001,   3,   3},
    {"SsfEnvelope",               0x001,   4,   4},
    {"SsfDevelope",               0x001,   5,   5},
    {"SsfAddSign",                0x001,   8,   8},
    {"SsfDigest",                 0x001,   9,   9},
    {"SsfDELSsfOctetstring",      0x001,  10,  10},
    {"SsfNEWSigRcpSsfInfo",       0x001,  11,  11},
    {"SsfDELSigRcpSsfInfo",       0x001,  13,  13},
    {"SsfINSSigRcpSsfInfo",       0x001,  12,  12},
    {"SsfDELSigRcpSsfInfoList",   0x001,  14,  14},
    {"SsfQueryProperties",        0x001,   1,   1},
    {"SsfOpenProfile",            0x002,  15,  15},
    {"SsfCloseProfile",           0x002,  16,  16},
    {"SsfCreateProfile",          0x002,  17,  17},
    {"SsfRemoveProfile",          0x002,  18,  18},
    {"SsfGetOwnCertificate",      0x002,  19,  19},
    {"SsfGetCertificate",         0x002,  20,  20},
    {"SsfPutCertificate",         0x002,  21,  21},
    {"SsfRemoveCertificate",      0x002,  22,  22},
    {"SsfFreeCertificate",        0x002,  23,  23},
    {"SsfGetCertificateList",     0x002,  24,  24},
    {"SsfEnumCertificateList",    0x002,  25,  25},
    {"SsfFreeCertificateList",    0x002,  26,  26},
    {"SsfCertfromASN1",           0x002,  27,  27},
    {"SsfCerttoASN1",             0x002,  28,  28},
    {"SsfParseCertificate",       0x002,  29,  29},
    {"SsfGetCertificateRequest",  0x002,  30,  30},
    {"SsfPutCertificateResponse", 0x002,  31,  31},
    {"kavsecu_parseobject",       0x102,  32,  32},
    {"kav_secin",                 0x102,  33,  33},
    {"kav_create_memory_PSE",     0x102,  34,  34},
    {"kav_delete_memory_PSE",     0x102,  35,  35},
    {"kav_load_memory_PSE",       0x102,  36,  36},
    {"kav_save_memory_PSE",       0x102,  37,  37},
    {"SsfSignEx",                 0x103,  38,  38},
    {"SsfVerifyEx",               0x103,  39,  39},
    {"SsfEnvelopeEx",             0x103,  40,  40},
    {"SsfDevelopeEx",             0x103,  41,  41},
    {"SsfSecTKLastErrorInfo",     0x103,  42,  42},
    {"SsfDecodeCrlArray",         0x103,  45,  46},
    {"SsfFreeCrlArray",           0x103,  46,  47},
    {"SsfVerifyCRL",              0x103,  47,  48},
    {"SsfParseCRL",               0x103,  48,  49},
    {"SsfFreeCrlList",            0x103,  49,  50},
    {"SsfGetCrlDpArrayFromCert",  0x103,  52,  54},
    {"SsfFreeCrlDpArray",         0x103,  53,  55},
    {"SsfGetTimeStampReq",        0x103,  50,  51},
    {"SsfAddTimeStampResp",       0x103,  51,  52},
    {"SsfCheckCertWithCrlArray",  0x103,  54,  53},
    {"SsfSecudeNameToLdapUTF8",   0x103,  55,  56},
    {"SsfConvertLargeIntToHex",   0x103,  56,  57},
    {"SsfSignProfile",            0x103,  57,  58},
    {"SsfRcName",                 0x103,  58,  59},
    {"SsfRcDesc",                 0x103,  59,  60},
    {"SsfReadPse",                0x103,  63,  64},
    {"SsfStorePse",               0x103,  62,  63},
    {"kavcr_set_property_int",    0x103,  64,  65},
    {"kavcr_get_property_int",    0x103,  65,  66},
    {"kavcr_get_property_string", 0x103,  66,  67},
    {"kavcr_init",                0x103,  60,  61},
    {"kavcr_done",                0x103,  61,  62},
}};
// clang-format on

// The row of a name; as a constant, a name that is not in the list does not compile.
constexpr const SsfLoadRow& ssfLoadRow(std::string_view name) {
    for (const SsfLoadRow& row : ssfLoadList) {
        if (std::string_view(row.name) == name) {
            return row;
        }
    }
    throw "no such entry point";
}

}  // namespace quorvanti

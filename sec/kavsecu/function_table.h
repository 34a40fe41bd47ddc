// The crypto library's entry points, resolved by name when the library is loaded. Callers reach the crypto library
// through this table only, and ask whether an entry is there before each call.
#pragma once

#include "sec/kavsecu/load_list.h"

#include <quorvanti/ssf.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quorvanti {

using SsfAnyFunction = void (*)();

// One entry of the load list with the type that the public header declares for it.
template <typename Function>
struct SsfEntry {
    const char* name;
    std::size_t slot;
    std::size_t flag;
};

struct SsfFunctionTable {
    std::array<SsfAnyFunction, 67> entryPoints;  // by slot; 43 and 44 are reserved and never filled
    std::uint8_t loaded;
    std::array<std::uint8_t, 79> available;  // by flag number; not the slot's from SsfDecodeCrlArray on
    std::int32_t fipsMode;
    std::int32_t libraryHandle;  // -1: the table owns none

    template <typename Function>
    bool has(const SsfEntry<Function>& entry) const {
        return available[entry.flag] != 0 && entryPoints[entry.slot] != nullptr;
    }
    // Null when the crypto library does not have it.
    template <typename Function>
    Function* find(const SsfEntry<Function>& entry) const {
        return has(entry) ? reinterpret_cast<Function*>(entryPoints[entry.slot]) : nullptr;
    }
};

template <typename Function>
constexpr SsfEntry<Function> ssfEntry(std::string_view name) {
    const SsfLoadRow& row = ssfLoadRow(name);
    return {row.name, row.slot, row.flag};
}

// Entries that the engine calls, with their types: table.find(ssf::SsfVerify).
namespace ssf {
// clang-format off
inline constexpr auto SsfVersion              = ssfEntry<decltype(::SsfVersion)>             ("SsfVersion");
inline constexpr auto SsfEncode               = ssfEntry<decltype(::SsfEncode)>              ("SsfEncode");
inline constexpr auto SsfSign                 = ssfEntry<decltype(::SsfSign)>                ("SsfSign");
inline constexpr auto SsfVerify               = ssfEntry<decltype(::SsfVerify)>              ("SsfVerify");
inline constexpr auto SsfDELSsfOctetstring    = ssfEntry<decltype(::SsfDELSsfOctetstring)>   ("SsfDELSsfOctetstring");
inline constexpr auto SsfNEWSigRcpSsfInfo     = ssfEntry<decltype(::SsfNEWSigRcpSsfInfo)>    ("SsfNEWSigRcpSsfInfo");
inline constexpr auto SsfINSSigRcpSsfInfo     = ssfEntry<decltype(::SsfINSSigRcpSsfInfo)>    ("SsfINSSigRcpSsfInfo");
inline constexpr auto SsfDELSigRcpSsfInfo     = ssfEntry<decltype(::SsfDELSigRcpSsfInfo)>    ("SsfDELSigRcpSsfInfo");
inline constexpr auto SsfDELSigRcpSsfInfoList = ssfEntry<decltype(::SsfDELSigRcpSsfInfoList)>("SsfDELSigRcpSsfInfoList");
inline constexpr auto SsfOpenProfile          = ssfEntry<decltype(::SsfOpenProfile)>         ("SsfOpenProfile");
inline constexpr auto SsfCloseProfile         = ssfEntry<decltype(::SsfCloseProfile)>        ("SsfCloseProfile");
inline constexpr auto SsfCreateProfile        = ssfEntry<decltype(::SsfCreateProfile)>       ("SsfCreateProfile");
inline constexpr auto SsfPutCertificate       = ssfEntry<decltype(::SsfPutCertificate)>      ("SsfPutCertificate");
inline constexpr auto SsfFreeCertificate      = ssfEntry<decltype(::SsfFreeCertificate)>     ("SsfFreeCertificate");
inline constexpr auto SsfCertfromASN1         = ssfEntry<decltype(::SsfCertfromASN1)>        ("SsfCertfromASN1");
inline constexpr auto SsfCerttoASN1           = ssfEntry<decltype(::SsfCerttoASN1)>          ("SsfCerttoASN1");
inline constexpr auto SsfParseCertificate     = ssfEntry<decltype(::SsfParseCertificate)>    ("SsfParseCertificate");
inline constexpr auto kav_create_memory_PSE   = ssfEntry<decltype(::kav_create_memory_PSE)>  ("kav_create_memory_PSE");
inline constexpr auto kav_delete_memory_PSE   = ssfEntry<decltype(::kav_delete_memory_PSE)>  ("kav_delete_memory_PSE");
inline constexpr auto kav_load_memory_PSE     = ssfEntry<decltype(::kav_load_memory_PSE)>    ("kav_load_memory_PSE");
inline constexpr auto SsfVerifyEx             = ssfEntry<decltype(::SsfVerifyEx)>            ("SsfVerifyEx");
inline constexpr auto SsfSecTKLastErrorInfo   = ssfEntry<decltype(::SsfSecTKLastErrorInfo)>  ("SsfSecTKLastErrorInfo");
inline constexpr auto kavcr_set_property_int  = ssfEntry<decltype(::kavcr_set_property_int)> ("kavcr_set_property_int");
inline constexpr auto kavcr_get_property_int  = ssfEntry<decltype(::kavcr_get_property_int)> ("kavcr_get_property_int");
inline constexpr auto kavcr_init              = ssfEntry<decltype(::kavcr_init)>             ("kavcr_init");
inline constexpr auto kavcr_done              = ssfEntry<decltype(::kavcr_done)>             ("kavcr_done");
// clang-format on
}  // namespace ssf

// Results of the loader.
inline constexpr std::int32_t kSsfSupOk = 0;
inline constexpr std::int32_t kSsfSupAlreadyLoaded = 1;
inline constexpr std::int32_t kSsfSupNotAllFunctions = 5;
inline constexpr std::int32_t kSsfSupNoLib = 10;

// Fills the table from an opened library (handle) or, with -1, from the named one. The caller holds the crypto lock.
std::int32_t SsfLoadFunctions(std::int32_t handle, const char* libraryName, SsfFunctionTable& table);
void SsfUnloadFunctions(SsfFunctionTable& table);
const char* SsfSupRcName(std::int32_t code);

// Makes sure that the library's version record is cached; true when there is a usable one.
bool SsfGetVersionRecord(const SsfFunctionTable& table);
// 0 with a terminated text made by new[] that the caller frees with delete[]; 17, 1 or 4 otherwise.
std::int32_t SsfGetVersionText(const SsfFunctionTable& table, char** text, std::int32_t* length);
// The crypto library's words on the last error. Null pairs are not asked for; texts are made by new[].
std::int32_t SsfGetLastErrorInfo(SsfFunctionTable& table, std::int32_t code, std::int32_t* hasInfo, char** text1,
                                 std::int32_t* text1Length, char** text2, std::int32_t* text2Length);

}  // namespace quorvanti

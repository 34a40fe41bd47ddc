// The hash and keyed-MAC functions of the crypto library. They are no part of the function table: all of them are
// resolved by name, or none.
#pragma once

#include "krn/dl/dl.h"

#include <quorvanti/ssf.h>

#include <array>
#include <cstddef>

namespace quorvanti {

// One function of the set with the type that the public header declares for it.
template <typename Function>
struct CryptEntry {
    const char* name;
    std::size_t position;
};

namespace crypt {
// clang-format off
inline constexpr CryptEntry<decltype(::crypt_hashAlgorithm_Name2Id)> crypt_hashAlgorithm_Name2Id {"crypt_hashAlgorithm_Name2Id",  0};
inline constexpr CryptEntry<decltype(::crypt_hashAlgorithm_Id2Name)> crypt_hashAlgorithm_Id2Name {"crypt_hashAlgorithm_Id2Name",  1};
inline constexpr CryptEntry<decltype(::crypt_hash_create)>           crypt_hash_create           {"crypt_hash_create",            2};
inline constexpr CryptEntry<decltype(::crypt_hash_import)>           crypt_hash_import           {"crypt_hash_import",            3};
inline constexpr CryptEntry<decltype(::crypt_hash_exportToBlob)>     crypt_hash_exportToBlob     {"crypt_hash_exportToBlob",      4};
inline constexpr CryptEntry<decltype(::crypt_hash_more)>             crypt_hash_more             {"crypt_hash_more",              5};
inline constexpr CryptEntry<decltype(::crypt_hash_getValue)>         crypt_hash_getValue         {"crypt_hash_getValue",          6};
inline constexpr CryptEntry<decltype(::crypt_hash_release)>          crypt_hash_release          {"crypt_hash_release",           7};
inline constexpr CryptEntry<decltype(::crypt_keyedmac_create)>       crypt_keyedmac_create       {"crypt_keyedmac_create",        8};
inline constexpr CryptEntry<decltype(::crypt_keyedmac_import)>       crypt_keyedmac_import       {"crypt_keyedmac_import",        9};
inline constexpr CryptEntry<decltype(::crypt_keyedmac_exportToBlob)> crypt_keyedmac_exportToBlob {"crypt_keyedmac_exportToBlob", 10};
inline constexpr CryptEntry<decltype(::crypt_keyedmac_more)>         crypt_keyedmac_more         {"crypt_keyedmac_more",         11};
inline constexpr CryptEntry<decltype(::crypt_keyedmac_getValue)>     crypt_keyedmac_getValue     {"crypt_keyedmac_getValue",     12};
inline constexpr CryptEntry<decltype(::crypt_keyedmac_reset)>        crypt_keyedmac_reset        {"crypt_keyedmac_reset",        13};
inline constexpr CryptEntry<decltype(::crypt_keyedmac_release)>      crypt_keyedmac_release      {"crypt_keyedmac_release",      14};
// clang-format on
}  // namespace crypt

class CryptFunctions {
public:
    // True when the set is there, which it tries to achieve when it is not. The caller holds the crypto lock.
    bool resolve();
    void forget();
    bool resolved() const { return resolved_; }

    // Only while the set is resolved.
    template <typename Function>
    Function* get(const CryptEntry<Function>& entry) const {
        return reinterpret_cast<Function*>(functions_[entry.position]);
    }

private:
    std::array<DlFunction, 15> functions_{};
    bool resolved_ = false;
};

}  // namespace quorvanti

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
#define QUORVANTI_CRYPT_ENTRY(name, position)            \
    inline constexpr CryptEntry<decltype(::name)> name { \
#name, position                                  \
    }
QUORVANTI_CRYPT_ENTRY(crypt_hashAlgorithm_Name2Id, 0);
QUORVANTI_CRYPT_ENTRY(crypt_hashAlgorithm_Id2Name, 1);
QUORVANTI_CRYPT_ENTRY(crypt_hash_create, 2);
QUORVANTI_CRYPT_ENTRY(crypt_hash_import, 3);
QUORVANTI_CRYPT_ENTRY(crypt_hash_exportToBlob, 4);
QUORVANTI_CRYPT_ENTRY(crypt_hash_more, 5);
QUORVANTI_CRYPT_ENTRY(crypt_hash_getValue, 6);
QUORVANTI_CRYPT_ENTRY(crypt_hash_release, 7);
QUORVANTI_CRYPT_ENTRY(crypt_keyedmac_create, 8);
QUORVANTI_CRYPT_ENTRY(crypt_keyedmac_import, 9);
QUORVANTI_CRYPT_ENTRY(crypt_keyedmac_exportToBlob, 10);
QUORVANTI_CRYPT_ENTRY(crypt_keyedmac_more, 11);
QUORVANTI_CRYPT_ENTRY(crypt_keyedmac_getValue, 12);
QUORVANTI_CRYPT_ENTRY(crypt_keyedmac_reset, 13);
QUORVANTI_CRYPT_ENTRY(crypt_keyedmac_release, 14);
#undef QUORVANTI_CRYPT_ENTRY
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

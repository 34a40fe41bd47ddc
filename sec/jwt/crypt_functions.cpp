#include "sec/jwt/crypt_functions.h"

#include "sec/kavsecu/kavsecu_set.h"

namespace quorvanti {
namespace {

// In the order in which they are asked for.
constexpr std::array<const char*, 15> kNames{
    crypt::crypt_hashAlgorithm_Name2Id.name, crypt::crypt_hashAlgorithm_Id2Name.name,
    crypt::crypt_hash_create.name,           crypt::crypt_hash_import.name,
    crypt::crypt_hash_exportToBlob.name,     crypt::crypt_hash_more.name,
    crypt::crypt_hash_getValue.name,         crypt::crypt_hash_release.name,
    crypt::crypt_keyedmac_create.name,       crypt::crypt_keyedmac_import.name,
    crypt::crypt_keyedmac_exportToBlob.name, crypt::crypt_keyedmac_more.name,
    crypt::crypt_keyedmac_getValue.name,     crypt::crypt_keyedmac_reset.name,
    crypt::crypt_keyedmac_release.name,
};

}  // namespace

bool CryptFunctions::resolve() {
    if (resolved_) {
        return true;
    }
    for (std::size_t position = 0; position < kNames.size(); ++position) {
        if (KavSecu_LoadFunction(kNames[position], functions_[position]) != 0) {
            forget();
            return false;
        }
    }
    resolved_ = true;
    return true;
}

void CryptFunctions::forget() {
    functions_.fill(nullptr);
    resolved_ = false;
}

}  // namespace quorvanti

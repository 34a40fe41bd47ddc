// The part of key stores in memory that only openKeyStore() needs.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "providers/openssl/key_store.h"

namespace quorvanti::provider {

// None when `name` is no key store in memory, else what openKeyStore() answers.
std::optional<std::int32_t> openMemoryKeyStore(std::string_view name, std::string_view password,
                                               std::shared_ptr<const KeyStore>& store);

void forgetMemoryKeyStores();

}  // namespace quorvanti::provider

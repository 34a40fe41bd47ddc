// The signature of a token.
#pragma once

#include "sec/jwt/crypt_functions.h"
#include "sec/jwt/jwt_header.h"
#include "sec/jwt/known_keys.h"
#include "sec/kavsecu/function_table.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvanti {

struct JwtSignature {
    const JwtAlgorithm& algorithm;
    std::string_view signedText;  // header "." payload, as received
    std::span<const std::uint8_t> value;
    std::span<const std::uint8_t> key;
};

// 0 when it is the key's signature over the text; any other code when it is not, or cannot be found out.
std::int32_t verifyJwtSignature(const JwtSignature& signature, const SsfFunctionTable& table, CryptFunctions& functions,
                                KnownKeys& knownKeys);

}  // namespace quorvanti

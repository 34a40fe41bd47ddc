// Evaluates JSON Web Tokens. The engine is started once with the function table of the crypto library and used under
// the crypto lock, which also guards the calls of its life here.
#pragma once

#include "sec/kavsecu/function_table.h"

#include <quorvanti/voraksso.h>

#include <cstdint>

namespace quorvanti {

// 0; -1 when the thread layer cannot be started, when the engine is started already, or without a table. A crypto
// library without keyed MACs does not keep the engine from starting: tokens that need them are refused then.
std::int32_t JwtInitialize(SsfFunctionTable* table);
bool JwtStarted();
// Forgets the table and the crypto library's functions; without effect when the engine is not started.
void JwtRelease();

// 0 accepted; 1 no name id, 4 expired, 5 malformed, 8 repeated claim, 10 engine not started, 11 out of memory, 14 not
// valid yet, 15 wrong record size, 20 signature invalid, 21 wrong "typ" or algorithm, 23 expected claim missing, 24
// claim differs, 1281 not base64url. The record's text says which claim and which part.
std::int32_t JwtEvalToken(const char* token, std::uint64_t tokenLength, const std::uint8_t* key,
                          std::uint64_t keyLength, const char* nameIdClaim, std::uint64_t nameIdClaimLength,
                          JwtResult& result);

}  // namespace quorvanti

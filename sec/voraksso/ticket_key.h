// The ticket key that a caller handed over instead of naming a key store: one for the whole process.
#pragma once

#include <quorvanti/ssf.h>

#include <cstddef>
#include <cstdint>

namespace quorvanti {

// Read and changed under the crypto lock, so that nobody sees half a key.
struct TicketKeyCache {
    char* pseName = nullptr;      // memory key store; the crypto library's text; null: no key
    char profileName[4096] = {};  // the key store as verification passes it; empty: the key is no key store
    char keyPassword[512] = {};
    std::uint8_t keyBytes[8192] = {};
    std::uint32_t keyLength = 0;
    // Resolved when the first certificate is loaded; forgotten when the crypto library is unloaded.
    decltype(::kavsecu_decode_cert)* decodeCertificate = nullptr;
};

// Deletes the memory key store and wipes every field. The caller holds the crypto lock.
void releaseTicketKey(TicketKeyCache& cache);

// Overwrites memory that held a secret, in a way that is not optimised away.
void wipeMemory(void* memory, std::size_t length);

}  // namespace quorvanti

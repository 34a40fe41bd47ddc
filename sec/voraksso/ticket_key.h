// The ticket key that a caller handed over instead of naming a key store: one for the whole process.
#pragma once

#include <quorvanti/ssf.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quorvanti {

// Read and changed under the crypto lock, so that nobody sees half a key.
struct TicketKeyCache {
    char* pseName = nullptr;  // memory key store; the crypto library's text; null: no key
    // The key store as verification passes it: the key's, or the one named when the ticket handles were started. Empty:
    // there is none, the key is for tokens.
    char profileName[4096] = {};
    bool profileIsKey = false;  // profileName names the memory key store, and keyPassword belongs to it
    char keyPassword[512] = {};
    std::uint8_t keyBytes[8192] = {};
    std::uint32_t keyLength = 0;
    // Resolved when the first certificate is loaded; forgotten when the crypto library is unloaded.
    decltype(::kavsecu_decode_cert)* decodeCertificate = nullptr;
};

// The key store for a caller who names none, without trailing blanks.
std::string_view cachedProfile(const TicketKeyCache& cache);
// Its password; null when it has none or the cached one belongs to a key for tokens.
const char* cachedPassword(const TicketKeyCache& cache);

// Deletes the memory key store and wipes every field. The caller holds the crypto lock.
void releaseTicketKey(TicketKeyCache& cache);

// Overwrites memory that held a secret, in a way that is not optimised away.
void wipeMemory(void* memory, std::size_t length);

}  // namespace quorvanti

#include "sec/voraksso/ticket_key.h"

#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "krn/dl/dl.h"
#include "sec/kavsecu/crypto_memory.h"
#include "sec/voraksso/base64.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/in_context.h"
#include "sec/voraksso/state.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

using KeyContent = std::span<const std::uint8_t>;

void storeBytes(TicketKeyCache& cache, KeyContent content) {
    if (content.size() < sizeof cache.keyBytes) {
        std::copy(content.begin(), content.end(), cache.keyBytes);
        cache.keyLength = static_cast<std::uint32_t>(content.size());
    }
}

void storePassword(TicketKeyCache& cache, const char* password) {
    if (password != nullptr) {
        std::memcpy(cache.keyPassword, password, strnlen(password, sizeof cache.keyPassword - 1));
    }
}

// What verification and creation pass as the key store: the name without trailing blanks. A key store that was named
// at the start of the ticket handles gives way.
void storeProfileName(TicketKeyCache& cache) {
    const std::size_t length =
        withoutTrailingBlanks({cache.pseName, strnlen(cache.pseName, sizeof cache.profileName - 1)}).size();
    std::memset(cache.profileName, 0, sizeof cache.profileName);
    std::memcpy(cache.profileName, cache.pseName, length);
    cache.profileIsKey = true;
}

std::int32_t loadKeyStore(SsfFunctionTable& table, TicketKeyCache& cache, KeyContent content, const char* password) {
    const std::int32_t code =
        table.find(ssf::kav_load_memory_PSE)(cache.pseName, content.data(), static_cast<std::int32_t>(content.size()));
    if (code != SSF_API_OK) {
        TRACE_ERROR("Load the PSE into the memory failed: %s. \n", SsfSupRcName(code));
        return VORAK_INVALID;
    }
    storePassword(cache, password);
    storeProfileName(cache);
    TRACE(2, "Ticket key as new PSE loaded \n");
    return VORAK_OK;
}

std::int32_t loadHmacKey(TicketKeyCache& cache, KeyContent content, const char* password) {
    storePassword(cache, password);
    storeBytes(cache, content);
    TRACE(2, "Token key for HMAC verification loaded \n");
    return VORAK_OK;
}

std::int32_t loadBase64HmacKey(TicketKeyCache& cache, KeyContent content, const char* password) {
    storePassword(cache, password);
    if (content.size() < sizeof cache.keyBytes) {
        cache.keyLength =
            decodeLenientBase64({reinterpret_cast<const char*>(content.data()), content.size()}, cache.keyBytes);
    }
    TRACE(2, "Token key (base 64 encoded) for HMAC verification loaded \n");
    return VORAK_OK;
}

bool resolveDecoder(const SsfFunctionTable& table, TicketKeyCache& cache) {
    if (cache.decodeCertificate == nullptr) {
        DlFunction function = nullptr;
        if (DlLoadFunc(table.libraryHandle, "kavsecu_decode_cert", function) == kDlOk) {
            cache.decodeCertificate = reinterpret_cast<decltype(::kavsecu_decode_cert)*>(function);
        }
    }
    return cache.decodeCertificate != nullptr;
}

// Puts the certificate into the memory key store as a trusted one: 0, 13, 14, or what closing it answered.
std::int32_t storeTrusted(const SsfFunctionTable& table, const TicketKeyCache& cache, SsfCertificate* certificate) {
    auto* create = requireFunction(table, ssf::SsfCreateProfile, kTraceUnit);
    auto* open = requireFunction(table, ssf::SsfOpenProfile, kTraceUnit);
    auto* put = requireFunction(table, ssf::SsfPutCertificate, kTraceUnit);
    auto* close = requireFunction(table, ssf::SsfCloseProfile, kTraceUnit);
    if (create == nullptr || open == nullptr || put == nullptr || close == nullptr) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    const auto nameLength = static_cast<std::int32_t>(std::strlen(cache.pseName));
    SsfProfile* profile = nullptr;
    const bool created = create(cache.pseName, nameLength, nullptr, 0) == SSF_API_OK;
    if (!created) {
        TRACE_ERROR("SsfCreateProfile failed for memory PSE\n");
    }
    // Without a profile both lines are written: deliberate, operators search for the second.
    if (!created || open(cache.pseName, nameLength, nullptr, 0, &profile) != SSF_API_OK) {
        TRACE_ERROR("SsfOpenProfile failed for memory PSE\n");
        return VORAK_CRYPTO_FAILED;
    }
    const std::int32_t putCode = put(profile, certificate);
    const std::int32_t closeCode = close(&profile);
    if (putCode != SSF_API_OK) {
        return VORAK_CRYPTO_FAILED;
    }
    return closeCode >= 0 && closeCode <= 0xFFFF ? closeCode : VORAK_CRYPTO_FAILED;
}

std::int32_t decodeAndStore(const SsfFunctionTable& table, TicketKeyCache& cache, KeyContent content, bool quietly,
                            SsfCertificate*& certificate) {
    const std::int32_t decoded =
        cache.decodeCertificate(content.data(), static_cast<std::int32_t>(content.size()), &certificate);
    if (decoded != SSF_API_OK || certificate == nullptr) {
        if (!quietly) {
            TRACE_ERROR("The decode_cert function failed in SSF library with rc = %d\n", decoded);
        }
        return VORAK_CRYPTO_FAILED;
    }
    const std::int32_t code = storeTrusted(table, cache, certificate);
    storeProfileName(cache);
    return code;
}

std::int32_t loadCertificate(SsfFunctionTable& table, TicketKeyCache& cache, KeyContent content, bool quietly) {
    if (!resolveDecoder(table, cache)) {
        TRACE_ERROR("Null pointer for function pointer kavsecu_decode_cert, wrong SSF library\n");
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    auto* release = requireFunction(table, ssf::SsfFreeCertificate, kTraceUnit);
    if (release == nullptr) {
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    SsfCertificate* certificate = nullptr;
    const std::int32_t code = decodeAndStore(table, cache, content, quietly, certificate);
    if (certificate != nullptr) {
        release(&certificate);
    }
    storeBytes(cache, content);
    // Whatever came of it, and before the clean-up: deliberate, kept in this order.
    TRACE(2, "Ticket key from X509 certificate loaded \n");
    return code;
}

std::int32_t loadByType(SsfFunctionTable& table, TicketKeyCache& cache, KeyContent content, const char* password,
                        std::uint32_t type) {
    switch (type) {
        case VORAK_KEY_STORE:
            return loadKeyStore(table, cache, content, password);
        case VORAK_KEY_HMAC:
            return loadHmacKey(cache, content, password);
        case VORAK_KEY_HMAC_BASE64:
            return loadBase64HmacKey(cache, content, password);
        case VORAK_KEY_CERTIFICATE:
        case VORAK_KEY_CERTIFICATE_QUIETLY:
            return loadCertificate(table, cache, content, type == VORAK_KEY_CERTIFICATE_QUIETLY);
        default:
            TRACE_ERROR("Invalid type %d of key. \n", static_cast<int>(type));
            return VORAK_INVALID;
    }
}

std::int32_t replaceKey(SsfFunctionTable& table, TicketKeyCache& cache, KeyContent content, const char* password,
                        std::uint32_t type) {
    if (content.empty()) {
        TRACE_ERROR("Null input passed for key content\n");
        return VORAK_MISSING_ARGUMENT;
    }
    auto* create = table.find(ssf::kav_create_memory_PSE);
    if (create == nullptr || !table.has(ssf::kav_load_memory_PSE)) {
        TRACE_ERROR("Null pointer for Ssf function pointer, wrong SSF library\n");
        return VORAK_CRYPTO_FUNCTION_MISSING;
    }
    if (cache.pseName != nullptr) {  // else the name is that of the ticket handles and stays
        releaseTicketKey(cache);
    }
    const std::int32_t code = create(&cache.pseName);
    if (code != SSF_API_OK || cache.pseName == nullptr) {
        cache.pseName = nullptr;
        TRACE_ERROR("Create PSE in memory failed: %s. \n", SsfSupRcName(code));
        return VORAK_NO_MEMORY;
    }
    const std::int32_t loaded = loadByType(table, cache, content, password, type);
    TRACE(3, "Cleanup of function, memory PSE created \n");
    return loaded;
}

}  // namespace

std::string_view cachedProfile(const TicketKeyCache& cache) {
    return withoutTrailingBlanks(cache.profileName);
}

const char* cachedPassword(const TicketKeyCache& cache) {
    return cache.profileIsKey && cache.keyPassword[0] != '\0' ? cache.keyPassword : nullptr;
}

void wipeMemory(void* memory, std::size_t length) {
    volatile auto* bytes = static_cast<volatile std::uint8_t*>(memory);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = 0;
    }
}

void releaseTicketKey(TicketKeyCache& cache) {
    if (cache.pseName != nullptr) {
        if (auto* release = libraryState().cryptoTable.find(ssf::kav_delete_memory_PSE)) {
            release(cache.pseName);
        }
        cache.pseName = nullptr;
    }
    wipeMemory(cache.profileName, sizeof cache.profileName);
    cache.profileIsKey = false;
    wipeMemory(cache.keyPassword, sizeof cache.keyPassword);
    wipeMemory(cache.keyBytes, sizeof cache.keyBytes);
    cache.keyLength = 0;
}

}  // namespace quorvanti

using namespace quorvanti;

extern "C" QUORVANTI_API int32_t VorakLoadTicketKey(const uint8_t* content, int32_t contentLength, const char* password,
                                                    int32_t, uint32_t keyType) {
    return guarded([&] {
        TRACE(3, "Call function VorakLoadTicketKey \n");
        std::int32_t code = VORAK_INVALID;
        if (requireInitialized()) {
            LibraryState& state = libraryState();
            const ThrRecMtxGuard lock(state.cryptoLock);
            const KeyContent key = content != nullptr && contentLength > 0
                                       ? KeyContent(content, static_cast<std::size_t>(contentLength))
                                       : KeyContent();
            code = replaceKey(state.cryptoTable, state.ticketKey, key, password, keyType);
            if (code != VORAK_OK && state.ticketKey.pseName != nullptr) {
                releaseTicketKey(state.ticketKey);
            }
        }
        TRACE(3, "Leave function VorakLoadTicketKey with rc = %d.\n", code);
        return code;
    });
}

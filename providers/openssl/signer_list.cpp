#include "providers/openssl/signer_list.h"

#include <openssl/crypto.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <optional>

#include "providers/openssl/boundary.h"
#include "providers/openssl/hand_out.h"

namespace quorvanti::provider {
namespace {

// An entry and, behind it in the same memory, the texts that it was made with. What replaces one of them later is
// memory of hand_out.h.
struct Block {
    SsfSigRcpSsfInfo entry;  // first: its address is that of the block
    std::size_t size;
    bool secret;  // holds a password
};

struct EntryParts {
    std::string_view id;
    std::string_view profile;
    std::string_view password;
    std::optional<std::string_view> info;
    std::span<const std::uint8_t> certificate;  // empty: none
};

Block* blockOf(SsfSigRcpSsfInfo* entry) {
    return reinterpret_cast<Block*>(entry);
}

void releasePart(SsfSigRcpSsfInfo& entry, void* part) {
    const auto* bytes = static_cast<const char*>(part);
    const auto* start = reinterpret_cast<const char*>(&entry);
    if (std::less<>()(bytes, start) || !std::less<>()(bytes, start + blockOf(&entry)->size))
        takeBack(part);
}

void freeEntry(SsfSigRcpSsfInfo* entry) {
    for (void* part :
         {static_cast<void*>(entry->id), static_cast<void*>(entry->profile), static_cast<void*>(entry->password),
          static_cast<void*>(entry->info), static_cast<void*>(entry->certificate)})
        releasePart(*entry, part);
    Block* block = blockOf(entry);
    if (block->secret)
        OPENSSL_cleanse(block, block->size);
    std::free(block);
}

struct EntryDeleter {
    void operator()(SsfSigRcpSsfInfo* entry) const { freeEntry(entry); }
};
using EntryPtr = std::unique_ptr<SsfSigRcpSsfInfo, EntryDeleter>;

// Copies a part behind those that are there already, with a terminator.
template <class Character>
void append(char*& end, const void* data, std::size_t length, Character*& part, std::int32_t& partLength) {
    if (length > 0)
        std::memcpy(end, data, length);
    end[length] = '\0';
    part = reinterpret_cast<Character*>(end);
    partLength = static_cast<std::int32_t>(length);
    end += length + 1;
}

// Null when memory runs out or an int32_t cannot tell a length.
EntryPtr makeEntry(const EntryParts& parts) {
    constexpr std::size_t terminators = 5;
    const std::size_t infoLength = parts.info ? parts.info->size() : 0;
    std::size_t size = sizeof(Block) + terminators;
    for (const std::size_t length :
         {parts.id.size(), parts.profile.size(), parts.password.size(), infoLength, parts.certificate.size()}) {
        if (length > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
            return nullptr;
        size += length;
    }
    void* memory = std::malloc(size);
    if (memory == nullptr)
        return nullptr;
    auto* block = new (memory) Block{{}, size, !parts.password.empty()};
    EntryPtr entry(&block->entry);
    char* end = static_cast<char*>(memory) + sizeof(Block);
    append(end, parts.id.data(), parts.id.size(), entry->id, entry->idLength);
    append(end, parts.profile.data(), parts.profile.size(), entry->profile, entry->profileLength);
    append(end, parts.password.data(), parts.password.size(), entry->password, entry->passwordLength);
    if (parts.info)
        append(end, parts.info->data(), infoLength, entry->info, entry->infoLength);
    if (!parts.certificate.empty())
        append(end, parts.certificate.data(), parts.certificate.size(), entry->certificate, entry->certificateLength);
    entry->result = SSF_API_UNDEFINED_RESULT;
    return entry;
}

}  // namespace

bool describeSigner(SsfSigRcpSsfInfo& entry, std::string_view info, std::int32_t result,
                    std::span<const std::uint8_t> certificateDer) {
    releasePart(entry, entry.info);
    releasePart(entry, entry.certificate);
    entry.info = nullptr;
    entry.infoLength = 0;
    entry.certificate = nullptr;
    entry.certificateLength = 0;
    entry.result = result;
    if (!handOut(info, &entry.info, &entry.infoLength))
        return false;
    return certificateDer.empty() || handOut(certificateDer, &entry.certificate, &entry.certificateLength);
}

SsfSigRcpSsfInfoList* makeSignerList(std::string_view id, std::string_view info, std::int32_t result,
                                     std::span<const std::uint8_t> certificateDer) {
    EntryPtr entry = makeEntry({id, {}, {}, info, certificateDer});
    if (entry == nullptr)
        return nullptr;
    entry->result = result;
    auto* list = new (std::nothrow) SsfSigRcpSsfInfoList{entry.get()};
    if (list != nullptr)
        entry.release();
    return list;
}

}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t SsfNEWSigRcpSsfInfo(const char* id, int32_t idLength, const char* profile, int32_t profileLength,
                            const char* password, int32_t passwordLength, SsfSigRcpSsfInfo** info) {
    if (info != nullptr)
        *info = nullptr;
    // Profile and password may be left out: the key store in question needs none.
    if (info == nullptr || id == nullptr || !isRange(id, idLength) || !isRange(profile, profileLength) ||
        !isRange(password, passwordLength))
        return invalidArguments("SsfNEWSigRcpSsfInfo");
    EntryPtr entry =
        makeEntry({textOf(id, idLength), textOf(profile, profileLength), textOf(password, passwordLength), {}, {}});
    if (entry == nullptr)
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    *info = entry.release();
    return SSF_API_OK;
}

int32_t SsfINSSigRcpSsfInfo(SsfSigRcpSsfInfo* info, SsfSigRcpSsfInfoList** list) {
    if (info == nullptr || list == nullptr)
        return invalidArguments("SsfINSSigRcpSsfInfo");
    if (*list == nullptr)
        *list = new (std::nothrow) SsfSigRcpSsfInfoList{};
    if (*list == nullptr)
        return fail(SSF_API_NORESULTLISTMEMORY, "The crypto library ran out of memory for a list of signers.");
    SsfSigRcpSsfInfo** end = &(*list)->first;
    for (; *end != nullptr; end = &(*end)->next) {
        if (*end == info)
            return fail(SSF_API_INVALID_FUNCARGS, "SsfINSSigRcpSsfInfo: the entry is in this list already.");
    }
    info->next = nullptr;
    *end = info;
    return SSF_API_OK;
}

int32_t SsfDELSigRcpSsfInfo(SsfSigRcpSsfInfo** info) {
    if (info == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    if (*info != nullptr)
        freeEntry(*info);
    *info = nullptr;
    return SSF_API_OK;
}

int32_t SsfDELSigRcpSsfInfoList(SsfSigRcpSsfInfoList** list) {
    if (list == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    if (*list == nullptr)
        return SSF_API_OK;
    for (SsfSigRcpSsfInfo* entry = (*list)->first; entry != nullptr;) {
        SsfSigRcpSsfInfo* next = entry->next;
        freeEntry(entry);
        entry = next;
    }
    delete *list;
    *list = nullptr;
    return SSF_API_OK;
}

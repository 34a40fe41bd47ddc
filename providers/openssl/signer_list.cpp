#include "providers/openssl/signer_list.h"

#include <memory>

#include "providers/openssl/boundary.h"
#include "providers/openssl/hand_out.h"

namespace quorvanti::provider {
namespace {

void freeEntry(SsfSigRcpSsfInfo* entry) {
    takeBack(entry->id);
    takeBack(entry->profile);
    takeBack(entry->password);
    takeBack(entry->info);
    takeBack(entry->certificate);
    delete entry;
}

struct EntryDeleter {
    void operator()(SsfSigRcpSsfInfo* entry) const { freeEntry(entry); }
};
using EntryPtr = std::unique_ptr<SsfSigRcpSsfInfo, EntryDeleter>;

EntryPtr makeEntry(std::string_view id, std::string_view profile, std::string_view password) {
    EntryPtr entry(new (std::nothrow) SsfSigRcpSsfInfo{});
    if (entry == nullptr || !handOut(id, &entry->id, &entry->idLength) ||
        !handOut(profile, &entry->profile, &entry->profileLength) ||
        !handOut(password, &entry->password, &entry->passwordLength))
        return nullptr;
    entry->result = SSF_API_UNDEFINED_RESULT;
    return entry;
}

}  // namespace

bool describeSigner(SsfSigRcpSsfInfo& entry, std::string_view info, std::int32_t result,
                    std::span<const std::uint8_t> certificateDer) {
    takeBack(entry.info);
    takeBack(entry.certificate);
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
    EntryPtr entry = makeEntry(id, {}, {});
    if (entry == nullptr || !describeSigner(*entry, info, result, certificateDer))
        return nullptr;
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
    EntryPtr entry = makeEntry(textOf(id, idLength), textOf(profile, profileLength), textOf(password, passwordLength));
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

#include "providers/openssl/chained_signers.h"

namespace quorvanti::provider {

std::shared_ptr<const TrustedCertificate> ChainedSigners::find(Bytes certificatesField, Bytes signer) const {
    const std::lock_guard lock(mutex_);
    for (const Entry& entry : entries_) {
        if (entry.signer != nullptr && sameBytes(entry.certificatesField, certificatesField) &&
            sameBytes(entry.signer->der, signer))
            return entry.signer;
    }
    return nullptr;
}

void ChainedSigners::keep(Bytes certificatesField, std::shared_ptr<const TrustedCertificate> signer) {
    Entry entry{{certificatesField.begin(), certificatesField.end()}, std::move(signer)};
    const std::lock_guard lock(mutex_);
    std::swap(entries_[next_], entry);
    next_ = (next_ + 1) % kept;
}

}  // namespace quorvanti::provider

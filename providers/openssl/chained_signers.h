// Signers that only a signature carried and that were found to chain to a trusted certificate, kept so that the next
// ticket of the same issuer need not be chained again.
#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <vector>

#include "providers/openssl/der_reader.h"
#include "providers/openssl/trusted_certificate.h"

namespace quorvanti::provider {

class ChainedSigners {
public:
    // Null unless this very certificate was chained before by means of these very certificates.
    std::shared_ptr<const TrustedCertificate> find(Bytes certificatesField, Bytes signer) const;

    // The signer's validity must be that of its whole chain.
    void keep(Bytes certificatesField, std::shared_ptr<const TrustedCertificate> signer);

private:
    struct Entry {
        std::vector<std::uint8_t> certificatesField;
        std::shared_ptr<const TrustedCertificate> signer;
    };
    static constexpr std::size_t kept = 32;

    mutable std::mutex mutex_;
    std::array<Entry, kept> entries_;
    std::size_t next_ = 0;  // the place to be overwritten
};

}  // namespace quorvanti::provider

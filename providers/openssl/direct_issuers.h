// Which certificates of a key store may be found to have issued a signer without the toolkit's building of chains.
#pragma once

#include <mutex>
#include <string_view>
#include <unordered_map>

#include "providers/openssl/der_reader.h"
#include "providers/openssl/trusted_certificate.h"

namespace quorvanti::provider {

class DirectIssuers {
public:
    // The certificate and whatever else is trusted stay where they are.
    void add(const TrustedCertificate& certificate);
    void clear() { bySubject_.clear(); }

    // Null unless there is exactly one trusted certificate of that name, the toolkit's comparison of names included,
    // and it may issue certificates, has a prepared key, and nothing in it restricts what it may issue.
    const TrustedCertificate* find(Bytes subjectName) const;

private:
    enum class Standing : std::uint8_t { unknown, direct, refused };
    struct Entry {
        const TrustedCertificate* certificate;
        Standing standing;
    };

    bool isDirect(const TrustedCertificate& certificate) const;

    mutable std::mutex mutex_;
    // Judged when somebody asks: that costs as much as reading the certificate, and most are never asked for.
    mutable std::unordered_map<std::string_view, Entry> bySubject_;
};

}  // namespace quorvanti::provider

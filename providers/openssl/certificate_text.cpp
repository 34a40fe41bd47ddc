#include "providers/openssl/certificate_text.h"

#include <array>
#include <ctime>

#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/format.h"

namespace quorvanti::provider {
namespace {

using Text = std::optional<std::string>;

Text subject(const SsfCertificate& holder) {
    return nameText(X509_get_subject_name(holder.certificate.get()));
}

Text issuer(const SsfCertificate& holder) {
    return nameText(X509_get_issuer_name(holder.certificate.get()));
}

Text serialDecimal(const SsfCertificate& holder) {
    return decimalText(X509_get0_serialNumber(holder.certificate.get()));
}

Text serialOctets(const SsfCertificate& holder) {
    const ASN1_INTEGER* serial = X509_get0_serialNumber(holder.certificate.get());
    const std::span magnitude(ASN1_STRING_get0_data(serial), static_cast<std::size_t>(ASN1_STRING_length(serial)));
    if (magnitude.empty())
        return "00";
    std::string text(ASN1_STRING_type(serial) == V_ASN1_NEG_INTEGER ? "-" : "");
    return text.append(hexOctets(magnitude));
}

Text validity(const SsfCertificate& holder) {
    return validityText(holder.certificate.get());
}

Text fingerprint(const SsfCertificate& holder) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> value{};
    std::size_t length = 0;
    if (EVP_Q_digest(libraryContext(), "SHA256", nullptr, holder.der.data(), holder.der.size(), value.data(),
                     &length) != 1)
        return std::nullopt;
    return hexOctets(std::span(value).first(length));
}

Text algorithm(const SsfCertificate& holder) {
    const X509_ALGOR* signature = nullptr;
    X509_get0_signature(nullptr, &signature, holder.certificate.get());
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, signature);
    std::array<char, 128> text{};
    if (OBJ_obj2txt(text.data(), static_cast<int>(text.size()), object, 0) <= 0)
        return std::nullopt;
    return text.data();
}

struct Line {
    const char* label;
    Text (*read)(const SsfCertificate& holder);
};

template <std::size_t count>
Text lines(const SsfCertificate& holder, const Line (&table)[count]) {
    std::string all;
    for (const Line& line : table) {
        const Text text = line.read(holder);
        if (!text)
            return std::nullopt;
        all.append(all.empty() ? "" : "\n").append(line.label).append(*text);
    }
    return all;
}

// clang-format off
constexpr Line summaryLines[] = {
    { "Subject : ", subject       },
    { "Issuer  : ", issuer        },
    { "SerialNo: ", serialDecimal },
    { "Validity: ", validity      },
};

constexpr Line allLines[] = {
    { "Subject    : ", subject       },
    { "Issuer     : ", issuer        },
    { "SerialNo   : ", serialDecimal },
    { "Serial     : ", serialOctets  },
    { "Validity   : ", validity      },
    { "Fingerprint: ", fingerprint   },
    { "AlgId      : ", algorithm     },
};

Text summary(const SsfCertificate& holder) { return lines(holder, summaryLines); }

Text all(const SsfCertificate& holder) { return lines(holder, allLines); }

constexpr CertificateAttribute attributes[] = {
    { "SUBJECT",     subject       },
    { "ISSUER",      issuer        },
    { "SERIALNO",    serialDecimal },
    { "SERIAL",      serialOctets  },
    { "SUMMARY",     summary       },
    { "VALIDITY",    validity      },
    { "FINGERPRINT", fingerprint   },
    { "ALGID",       algorithm     },
    { "ALL",         all           },
};
// clang-format on

}  // namespace

const CertificateAttribute* findCertificateAttribute(std::string_view name) {
    for (const CertificateAttribute& attribute : attributes) {
        if (withoutTrailingBlanks(name) == attribute.name)
            return &attribute;
    }
    return nullptr;
}

std::string hexOctets(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 3);
    for (const std::uint8_t byte : bytes) {
        if (!text.empty())
            text.push_back(':');
        text.push_back(digits[byte >> 4U]);
        text.push_back(digits[byte & 15U]);
    }
    return text;
}

std::optional<std::string> decimalText(const ASN1_INTEGER* number) {
    const BignumPtr value(ASN1_INTEGER_to_BN(number, nullptr));
    const OpensslText text(value != nullptr ? BN_bn2dec(value.get()) : nullptr);
    return text != nullptr ? Text(text.get()) : std::nullopt;
}

std::optional<std::string> timeText(const ASN1_TIME* time) {
    std::tm fields{};
    // Null would mean the current time.
    if (time == nullptr || ASN1_TIME_to_tm(time, &fields) != 1)
        return std::nullopt;
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%SZ", &fields);
    return text.data();
}

std::optional<std::string> validityText(const X509* certificate) {
    const Text from = timeText(X509_get0_notBefore(certificate));
    const Text until = timeText(X509_get0_notAfter(certificate));
    if (!from || !until)
        return std::nullopt;
    return *from + " - " + *until;
}

}  // namespace quorvanti::provider

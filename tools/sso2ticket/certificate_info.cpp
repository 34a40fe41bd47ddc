#include "tools/sso2ticket/certificate_info.h"

#include <array>
#include <chrono>
#include <ctime>

namespace quorvanti {

namespace {

constexpr std::int64_t secondsPerDay = 86400;

std::int64_t secondsOf(const ASN1_TIME* time) {
    std::tm parts{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1) {
        return 0;
    }
    using namespace std::chrono;
    const sys_days day = year(parts.tm_year + 1900) / (parts.tm_mon + 1) / parts.tm_mday;
    return sys_seconds(day + hours(parts.tm_hour) + minutes(parts.tm_min) + seconds(parts.tm_sec))
        .time_since_epoch()
        .count();
}

std::string fingerprintOf(const X509* certificate) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (X509_digest(certificate, EVP_sha256(), digest.data(), &length) != 1) {
        return {};
    }
    return hexOctets(std::span(digest).first(length));
}

}  // namespace

Openssl<X509> parseCertificate(std::span<const std::uint8_t> der) {
    const unsigned char* position = der.data();
    return Openssl<X509>(d2i_X509(nullptr, &position, static_cast<long>(der.size())));
}

CertificateInfo describe(const X509* certificate) {
    const ASN1_OBJECT* algorithm = nullptr;
    X509_ALGOR_get0(&algorithm, nullptr, nullptr, X509_get0_tbs_sigalg(certificate));
    return {nameText(X509_get_subject_name(certificate)),     nameText(X509_get_issuer_name(certificate)),
            decimalText(X509_get0_serialNumber(certificate)), fingerprintOf(certificate),
            keyText(X509_get0_pubkey(certificate)),           objectText(algorithm),
            secondsOf(X509_get0_notBefore(certificate)),      secondsOf(X509_get0_notAfter(certificate))};
}

std::string nameText(const X509_NAME* name) {
    const Openssl<BIO> bio(BIO_new(BIO_s_mem()));
    if (bio == nullptr || X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB) < 0) {
        return {};
    }
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

std::string decimalText(const ASN1_INTEGER* number) {
    const Openssl<BIGNUM> value(ASN1_INTEGER_to_BN(number, nullptr));
    const Openssl<char> text(value != nullptr ? BN_bn2dec(value.get()) : nullptr);
    return text != nullptr ? text.get() : "";
}

std::string keyText(const EVP_PKEY* key) {
    const char* type = key != nullptr ? EVP_PKEY_get0_type_name(key) : nullptr;
    return type != nullptr ? std::string(type) + " " + std::to_string(EVP_PKEY_get_bits(key)) : "unknown";
}

std::string objectText(const ASN1_OBJECT* object) {
    std::array<char, 128> text{};
    return object != nullptr && OBJ_obj2txt(text.data(), static_cast<int>(text.size()), object, 0) > 0 ? text.data()
                                                                                                       : "";
}

std::int64_t daysUntil(std::int64_t time) {
    const std::int64_t left = time - static_cast<std::int64_t>(std::time(nullptr));
    return left >= 0 ? left / secondsPerDay : -((-left + secondsPerDay - 1) / secondsPerDay);
}

std::string validityText(const CertificateInfo& info) {
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    const std::string state = now > info.notAfter    ? "expired"
                              : now < info.notBefore ? "not valid yet"
                                                     : std::to_string(daysUntil(info.notAfter)) + " days left";
    return utcText(info.notBefore) + " to " + utcText(info.notAfter) + " (" + state + ")";
}

Json certificateJson(const CertificateInfo& info) {
    return {{"subject", info.subject},
            {"issuer", info.issuer},
            {"serialNumber", info.serialNumber},
            {"notBefore", utcText(info.notBefore)},
            {"notAfter", utcText(info.notAfter)},
            {"daysLeft", daysUntil(info.notAfter)},
            {"key", info.key},
            {"signatureAlgorithm", info.signatureAlgorithm},
            {"fingerprint", info.fingerprint}};
}

}  // namespace quorvanti

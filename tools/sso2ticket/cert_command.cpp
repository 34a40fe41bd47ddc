#include "tools/sso2ticket/cert_command.h"

#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/key_store_file.h"
#include "tools/sso2ticket/output.h"
#include "tools/sso2ticket/private_file.h"

#include <quorvanti/voraksso.h>

#include <istream>
#include <ostream>

namespace quorvanti {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t firstRoom = 16384;

// clang-format off
constexpr const char* attributes[] = {
    "SUBJECT", "ISSUER", "SERIALNO", "SERIAL", "VALIDITY", "FINGERPRINT", "ALGID", "SUMMARY", "ALL",
};
// clang-format on

Bytes derOf(const X509* certificate) {
    unsigned char* bytes = nullptr;
    const int length = i2d_X509(certificate, &bytes);
    const Openssl<unsigned char> release(bytes);
    return length > 0 ? Bytes(bytes, bytes + length) : Bytes();
}

std::string attributeText(const Bytes& der, const std::string& name) {
    std::string text(firstRoom, '\0');
    for (;;) {
        auto length = static_cast<std::int32_t>(text.size());
        const std::int32_t code =
            VorakParseCertificate(der.data(), static_cast<std::uint32_t>(der.size()), name.c_str(),
                                  reinterpret_cast<std::uint8_t*>(text.data()), &length);
        if (code == VORAK_BUFFER_TOO_SMALL && static_cast<std::size_t>(length) > text.size()) {
            text.resize(static_cast<std::size_t>(length));
            continue;
        }
        if (code != VORAK_OK) {
            throw Failure(ExitCode::rejected, "the attribute " + name + " cannot be read from the certificate, code " +
                                                  std::to_string(code) + " (" + explain(code).name + ")");
        }
        text.resize(static_cast<std::size_t>(length));
        return text;
    }
}

// A line for each line of the attribute.
std::string rows(const std::string& name, const std::string& text) {
    std::string result;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        result += row(start == 0 ? name : "", text.substr(start, end - start));
        start = end + 1;
    }
    return result.empty() ? row(name, "") : result;
}

}  // namespace

ExitCode showCertificates(const CertOptions& options, std::istream& in, std::ostream& out) {
    const std::vector<Openssl<X509>> certificates = certificatesIn(readWholeInput(options.file, in), options.file);
    const LibrarySession session(options.session);
    Json list = Json::array();
    std::string text;
    for (const Openssl<X509>& certificate : certificates) {
        const Bytes der = derOf(certificate.get());
        Json json;
        if (!options.attribute.empty()) {
            const std::string value = attributeText(der, options.attribute);
            json[options.attribute] = value;
            text += value + "\n";
        } else {
            text += text.empty() ? "" : "\n";
            for (const std::string name : attributes) {
                json[name] = attributeText(der, name);
                text += name == "ALL" ? "" : rows(name, json[name]);
            }
        }
        list.push_back(json);
    }
    out << (options.json ? dump({{"certificates", list}}) : text);
    return ExitCode::accepted;
}

}  // namespace quorvanti

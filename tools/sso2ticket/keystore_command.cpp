#include "tools/sso2ticket/keystore_command.h"

#include "tools/sso2ticket/console.h"
#include "tools/sso2ticket/failure.h"
#include "tools/sso2ticket/key_store_file.h"
#include "tools/sso2ticket/output.h"
#include "tools/sso2ticket/private_file.h"
#include "tools/sso2ticket/self_signed.h"

#include <openssl/pem.h>

#include <algorithm>
#include <filesystem>
#include <istream>
#include <ostream>
#include <utility>

namespace quorvanti {

namespace {

struct Entry {
    const char* kind;
    const X509* certificate;
};

std::vector<Entry> entriesOf(const KeyStore& store) {
    std::vector<Entry> entries;
    if (store.own != nullptr) {
        entries.push_back({"own", store.own.get()});
    }
    for (const Openssl<X509>& certificate : store.others) {
        entries.push_back({"trusted", certificate.get()});
    }
    return entries;
}

std::string entryText(std::size_t number, const Entry& entry) {
    const CertificateInfo info = describe(entry.certificate);
    return std::to_string(number) + " " + entry.kind + "\n" + row("  subject", info.subject) +
           row("  issued by", info.issuer) + row("  serial number", info.serialNumber) +
           row("  valid", validityText(info)) + row("  key", info.key) + row("  signature", info.signatureAlgorithm) +
           row("  fingerprint", info.fingerprint);
}

Json entryJson(std::size_t number, const Entry& entry) {
    Json json = {{"number", number}, {"kind", entry.kind}};
    json.update(certificateJson(describe(entry.certificate)));
    return json;
}

void printStore(const KeyStore& store, const KeystoreOptions& options, std::ostream& out) {
    const std::vector<Entry> entries = entriesOf(store);
    if (options.json) {
        Json list = Json::array();
        for (std::size_t i = 0; i < entries.size(); ++i) {
            list.push_back(entryJson(i + 1, entries[i]));
        }
        out << dump({{"file", options.file},
                     {"format", formatName(store.format)},
                     {"privateKey", store.key != nullptr},
                     {"entries", list}});
        return;
    }
    out << row("key store", options.file) << row("format", formatName(store.format))
        << row("private key", store.key != nullptr ? keyText(store.key.get()) : "none");
    for (std::size_t i = 0; i < entries.size(); ++i) {
        out << entryText(i + 1, entries[i]);
    }
}

void needChangeable(const KeyStore& store, const std::string& name) {
    if (store.format != KeyStoreFormat::pkcs12) {
        throw Failure(ExitCode::configuration, "the key store " + name + " is a " + formatName(store.format) +
                                                   " file; only PKCS#12 key stores are changed");
    }
    if (!store.complete) {
        throw Failure(ExitCode::configuration, "the key store " + name +
                                                   " is not changed: it holds more than one key with its certificate "
                                                   "and trusted certificates, and the rest would be lost");
    }
}

bool isIn(const KeyStore& store, const X509* certificate) {
    const std::vector<Entry> entries = entriesOf(store);
    return std::any_of(entries.begin(), entries.end(),
                       [&](const Entry& entry) { return X509_cmp(entry.certificate, certificate) == 0; });
}

}  // namespace

ExitCode createKeystore(const KeystoreCreateOptions& options, std::ostream& out) {
    if (std::filesystem::exists(options.file)) {  // before anybody is asked for a password
        throw Failure(ExitCode::configuration, "the file " + options.file + " is there already");
    }
    const Secret password = readNewPassword(options.password);
    const KeyStore store = selfSigned(options.subject, options.keyType, options.days);
    createPrivateFile(options.file, pkcs12Of(store, password));
    printStore(store, options, out);
    return ExitCode::accepted;
}

ExitCode listKeystore(const KeystoreOptions& options, std::ostream& out) {
    printStore(readKeyStore(options.file, readPassword(options.password)), options, out);
    return ExitCode::accepted;
}

ExitCode addTrusted(const KeystoreTrustOptions& options, std::istream& in, std::ostream& out) {
    std::vector<Openssl<X509>> certificates =
        certificatesIn(readWholeInput(options.certificates, in), options.certificates);
    const bool fresh = options.create && !std::filesystem::exists(options.file);
    std::optional<Secret> password;
    KeyStore store;
    if (fresh) {
        password.emplace(readNewPassword(options.password));
    } else {
        if (std::optional<Secret> given = readPassword(options.password)) {
            password.emplace(std::move(*given));
        }
        store = readKeyStore(options.file, password);
        needChangeable(store, options.file);
        if (!password || password->view().empty()) {
            throw Failure(ExitCode::configuration, "a key store that is written needs a password that is not empty");
        }
    }
    for (Openssl<X509>& certificate : certificates) {
        if (!isIn(store, certificate.get())) {
            store.others.push_back(std::move(certificate));
        }
    }
    const std::vector<std::uint8_t> content = pkcs12Of(store, *password);
    fresh ? createPrivateFile(options.file, content) : replacePrivateFile(options.file, content);
    printStore(store, options, out);
    return ExitCode::accepted;
}

ExitCode exportCertificate(const KeystoreExportOptions& options, std::ostream& out) {
    const KeyStore store = readKeyStore(options.file, readPassword(options.password));
    const std::vector<Entry> entries = entriesOf(store);
    if (options.number < 1 || static_cast<std::size_t>(options.number) > entries.size()) {
        throw Failure(ExitCode::configuration, "the key store " + options.file + " has " +
                                                   std::to_string(entries.size()) + " certificates, and no number " +
                                                   std::to_string(options.number));
    }
    const X509* certificate = entries[static_cast<std::size_t>(options.number) - 1].certificate;
    const Openssl<BIO> bio(BIO_new(BIO_s_mem()));
    const bool good = bio != nullptr && (options.der ? i2d_X509_bio(bio.get(), certificate)
                                                     : PEM_write_bio_X509(bio.get(), certificate)) == 1;
    char* bytes = nullptr;
    const long length = good ? BIO_get_mem_data(bio.get(), &bytes) : 0;
    if (options.der) {
        writeBytesAsTheyAre();
    }
    out.write(bytes, length);
    return ExitCode::accepted;
}

ExitCode changePassword(const KeystorePasswordOptions& options, std::ostream& out) {
    const KeyStore store = readKeyStore(options.file, readPassword(options.password));
    needChangeable(store, options.file);
    replacePrivateFile(options.file, pkcs12Of(store, readNewPassword(options.newPassword)));
    out << (options.json ? dump({{"file", options.file}, {"passwordChanged", true}})
                         : "the password of " + printable(options.file) + " is changed\n");
    return ExitCode::accepted;
}

}  // namespace quorvanti

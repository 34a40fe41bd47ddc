#include <openssl/pem.h>
#include <openssl/pkcs12.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "providers/openssl/digests.h"
#include "providers/openssl/key_store_content.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

using SigPtr = std::unique_ptr<X509_SIG, OpensslDeleter<X509_SIG_free>>;
using Pkcs8Ptr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, OpensslDeleter<PKCS8_PRIV_KEY_INFO_free>>;
using CipherPtr = std::unique_ptr<EVP_CIPHER, OpensslDeleter<EVP_CIPHER_free>>;
using CipherCtxPtr = std::unique_ptr<EVP_CIPHER_CTX, OpensslDeleter<EVP_CIPHER_CTX_free>>;

// Wipes itself: key material passes through.
struct SecretBytes {
    std::vector<std::uint8_t> bytes;

    explicit SecretBytes(std::size_t size) : bytes(size) {}
    ~SecretBytes() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;
};

// One block between its BEGIN and END lines.
class PemBlock {
public:
    ~PemBlock() {
        OPENSSL_free(name_);
        OPENSSL_free(header_);
        OPENSSL_clear_free(data_, static_cast<std::size_t>(length_));
    }
    PemBlock() = default;
    PemBlock(const PemBlock&) = delete;
    PemBlock& operator=(const PemBlock&) = delete;

    bool read(BIO* input) { return PEM_read_bio(input, &name_, &header_, &data_, &length_) == 1; }
    std::string_view name() const { return name_; }
    std::string_view header() const { return header_; }
    Bytes data() const { return {data_, static_cast<std::size_t>(length_)}; }

private:
    char* name_ = nullptr;
    char* header_ = nullptr;
    unsigned char* data_ = nullptr;
    long length_ = 0;
};

struct Reading {
    std::string_view password;
    WorkBudget budget;
    KeyStoreContent& content;
};

ReadOutcome unreadableKey() {
    return unusableKeyStore("holds a private key that cannot be read.");
}

bool addTypedKey(int type, Bytes der, KeyStoreContent& content) {
    const unsigned char* position = der.data();
    EvpPkeyPtr key(
        d2i_PrivateKey_ex(type, nullptr, &position, static_cast<long>(der.size()), libraryContext(), nullptr));
    if (key == nullptr || position != der.data() + der.size())
        return false;
    content.privateKeys.push_back(std::move(key));
    return true;
}

bool hexValue(std::string_view text, std::vector<std::uint8_t>& value) {
    if (text.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        std::uint8_t byte = 0;
        const char* end = text.data() + i + 2;
        if (std::from_chars(text.data() + i, end, byte, 16).ptr != end)
            return false;
        value.push_back(byte);
    }
    return true;
}

// "Proc-Type: 4,ENCRYPTED" and "DEK-Info: <cipher>,<hex of the initial vector>", one a line.
struct TraditionalEncryption {
    std::string cipher;
    std::vector<std::uint8_t> vector;
};

bool readTraditionalHeader(std::string_view header, TraditionalEncryption& encryption) {
    constexpr std::string_view label = "DEK-Info: ";
    const std::size_t start = header.find(label);
    if (header.find("4,ENCRYPTED") == std::string_view::npos || start == std::string_view::npos)
        return false;
    std::string_view value = header.substr(start + label.size());
    value = value.substr(0, value.find_first_of("\r\n"));
    const std::size_t comma = value.find(',');
    if (comma == std::string_view::npos)
        return false;
    encryption.cipher = value.substr(0, comma);
    return hexValue(value.substr(comma + 1), encryption.vector);
}

// The derivation of traditional PEM: MD5 over what came before, the password and the first 8 bytes of the vector.
bool traditionalKey(std::string_view password, Bytes salt, SecretBytes& key) {
    SecretBytes input(longestDigest + password.size() + salt.size());
    DigestValue block;
    for (std::size_t done = 0; done < key.bytes.size();) {
        auto end = std::copy_n(block.bytes.begin(), block.size, input.bytes.begin());
        end = std::copy(password.begin(), password.end(), end);
        end = std::copy(salt.begin(), salt.end(), end);
        const auto used = static_cast<std::size_t>(end - input.bytes.begin());
        if (!digestOf(Digest::md5, Bytes(input.bytes).first(used), block))
            return false;
        const std::size_t taken = std::min(block.size, key.bytes.size() - done);
        std::copy_n(block.bytes.begin(), taken, key.bytes.begin() + static_cast<std::ptrdiff_t>(done));
        done += taken;
    }
    OPENSSL_cleanse(block.bytes.data(), block.bytes.size());
    return true;
}

bool decrypt(const EVP_CIPHER* cipher, Bytes key, Bytes vector, Bytes input, SecretBytes& output) {
    const CipherCtxPtr context(EVP_CIPHER_CTX_new());
    int first = 0;
    int last = 0;
    if (context == nullptr || EVP_DecryptInit_ex2(context.get(), cipher, key.data(), vector.data(), nullptr) != 1 ||
        EVP_DecryptUpdate(context.get(), output.bytes.data(), &first, input.data(), static_cast<int>(input.size())) !=
            1 ||
        EVP_DecryptFinal_ex(context.get(), output.bytes.data() + first, &last) != 1)
        return false;
    output.bytes.resize(static_cast<std::size_t>(first) + static_cast<std::size_t>(last));
    return true;
}

// Done here because the toolkit would do it in the host's library context.
ReadOutcome readTraditionalKey(int type, const PemBlock& block, Reading& reading) {
    constexpr std::size_t saltSize = 8;
    TraditionalEncryption encryption;
    if (!readTraditionalHeader(block.header(), encryption))
        return unreadableKey();
    const CipherPtr cipher(EVP_CIPHER_fetch(libraryContext(), encryption.cipher.c_str(), nullptr));
    PasswordScheme scheme{encryption.cipher, cipher != nullptr, 1};
    if (ReadOutcome outcome = admit(scheme, reading.budget); outcome.code != 0)
        return outcome;
    if (encryption.vector.size() < saltSize ||
        encryption.vector.size() != static_cast<std::size_t>(EVP_CIPHER_get_iv_length(cipher.get())))
        return unreadableKey();
    reading.content.passwordUsed = true;
    SecretBytes key(static_cast<std::size_t>(EVP_CIPHER_get_key_length(cipher.get())));
    SecretBytes plain(block.data().size() + EVP_MAX_BLOCK_LENGTH);
    if (!traditionalKey(reading.password, Bytes(encryption.vector).first(saltSize), key))
        return unreadableKey();
    // A wrong password shows in the padding, or else in what comes out.
    if (!decrypt(cipher.get(), key.bytes, encryption.vector, block.data(), plain) ||
        !addTypedKey(type, plain.bytes, reading.content))
        return wrongPassword(reading.password);
    return {};
}

ReadOutcome readTypedKey(int type, const PemBlock& block, Reading& reading) {
    if (!block.header().empty())
        return readTraditionalKey(type, block, reading);
    return addTypedKey(type, block.data(), reading.content) ? ReadOutcome{} : unreadableKey();
}

ReadOutcome readCertificateBlock(int, const PemBlock& block, Reading& reading) {
    return addCertificate(block.data(), reading.content) ? ReadOutcome{}
                                                         : unusableKeyStore("holds a certificate that cannot be read.");
}

ReadOutcome readPlainKey(int, const PemBlock& block, Reading& reading) {
    const unsigned char* position = block.data().data();
    const Pkcs8Ptr information(d2i_PKCS8_PRIV_KEY_INFO(nullptr, &position, static_cast<long>(block.data().size())));
    return information != nullptr && addPrivateKey(information.get(), reading.content) ? ReadOutcome{}
                                                                                       : unreadableKey();
}

ReadOutcome readProtectedKey(int, const PemBlock& block, Reading& reading) {
    const unsigned char* position = block.data().data();
    const SigPtr encrypted(d2i_X509_SIG(nullptr, &position, static_cast<long>(block.data().size())));
    return encrypted != nullptr
               ? readEncryptedKey(encrypted.get(), reading.password, false, reading.budget, reading.content)
               : unreadableKey();
}

ReadOutcome skipBlock(int, const PemBlock&, Reading&) {
    return {};
}

struct BlockKind {
    std::string_view name;
    ReadOutcome (*read)(int type, const PemBlock& block, Reading& reading);
    int type;
};

// What says nothing about whom to believe or with what to sign is passed over; any other block is refused.
// clang-format off
constexpr std::array blockKinds{
    BlockKind{"CERTIFICATE",             readCertificateBlock, 0},
    BlockKind{"X509 CERTIFICATE",        readCertificateBlock, 0},
    BlockKind{"PRIVATE KEY",             readPlainKey,         0},
    BlockKind{"ENCRYPTED PRIVATE KEY",   readProtectedKey,     0},
    BlockKind{"RSA PRIVATE KEY",         readTypedKey,         EVP_PKEY_RSA},
    BlockKind{"DSA PRIVATE KEY",         readTypedKey,         EVP_PKEY_DSA},
    BlockKind{"EC PRIVATE KEY",          readTypedKey,         EVP_PKEY_EC},
    BlockKind{"EC PARAMETERS",           skipBlock,            0},
    BlockKind{"DSA PARAMETERS",          skipBlock,            0},
    BlockKind{"DH PARAMETERS",           skipBlock,            0},
    BlockKind{"PUBLIC KEY",              skipBlock,            0},
    BlockKind{"RSA PUBLIC KEY",          skipBlock,            0},
    BlockKind{"CERTIFICATE REQUEST",     skipBlock,            0},
    BlockKind{"NEW CERTIFICATE REQUEST", skipBlock,            0},
};
// clang-format on

ReadOutcome readBlock(const PemBlock& block, Reading& reading) {
    for (const BlockKind& kind : blockKinds) {
        if (kind.name == block.name())
            return kind.read(kind.type, block, reading);
    }
    return unusableKeyStore("holds a block \"" + std::string(block.name().substr(0, 40)) +
                            "\", which is not supported.");
}

}  // namespace

ReadOutcome readPemKeyStore(Bytes image, std::string_view password, KeyStoreContent& content) {
    const BioPtr input(BIO_new_mem_buf(image.data(), static_cast<int>(image.size())));
    if (input == nullptr)
        throw std::bad_alloc();
    Reading reading{password, {}, content};
    ErrorQueueGuard errors;
    for (;;) {
        PemBlock block;
        if (!block.read(input.get())) {
            const bool end = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
            return end ? ReadOutcome{} : unusableKeyStore("holds a damaged PEM block.");
        }
        if (ReadOutcome outcome = readBlock(block, reading); outcome.code != 0)
            return outcome;
        errors.settle();
    }
}

}  // namespace quorvanti::provider

#include "sec/jwt/public_key_form.h"

#include <optional>
#include <string_view>

namespace quorvanti {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t kInteger = 0x02;
constexpr std::uint8_t kBitString = 0x03;
constexpr std::uint8_t kObjectId = 0x06;
constexpr std::uint8_t kSequence = 0x30;
constexpr std::uint8_t kVersion = 0xA0;

// --- DER, as far as it tells the forms apart ------------------------------------------------------------------

// Reads elements one after the other. Not strict about lengths: a sloppy certificate is a certificate all the same.
class Elements {
public:
    explicit Elements(Bytes bytes) : rest_(bytes) {}

    // The content of the next element; nothing when it has another tag or is not there as a whole.
    std::optional<Bytes> take(std::uint8_t tag) {
        if (rest_.size() < 2 || rest_[0] != tag) {
            return std::nullopt;
        }
        std::size_t header = 2;
        std::size_t length = rest_[1];
        if (length == 0x80) {  // indefinite: whatever follows
            length = rest_.size() - header;
        } else if (length > 0x80) {
            header += length & 0x7F;
            if (header > 2 + 8 || header > rest_.size()) {
                return std::nullopt;
            }
            length = 0;
            for (const std::uint8_t byte : rest_.subspan(2, header - 2)) {
                length = length << 8 | byte;
            }
        }
        if (length > rest_.size() - header) {
            return std::nullopt;
        }
        const Bytes content = rest_.subspan(header, length);
        rest_ = rest_.subspan(header + length);
        return content;
    }
    bool startsWith(std::uint8_t tag) const { return !rest_.empty() && rest_[0] == tag; }
    bool atEnd() const { return rest_.empty(); }

private:
    Bytes rest_;
};

enum class DerForm { other, publicKey, certificate };

DerForm formOf(Bytes der) {
    const auto outer = Elements(der).take(kSequence);
    if (!outer) {
        return DerForm::other;
    }
    Elements parts(*outer);
    if (parts.startsWith(kInteger)) {  // PKCS#1: modulus and exponent, and no more
        const bool both = parts.take(kInteger) && parts.take(kInteger);
        return both && parts.atEnd() ? DerForm::publicKey : DerForm::other;
    }
    const auto first = parts.take(kSequence);
    if (!first) {
        return DerForm::other;
    }
    const Elements inner(*first);
    if (inner.startsWith(kObjectId)) {  // an algorithm and the key
        return parts.startsWith(kBitString) ? DerForm::publicKey : DerForm::other;
    }
    const bool isCertificate =
        (inner.startsWith(kVersion) || inner.startsWith(kInteger)) && parts.startsWith(kSequence);
    return isCertificate ? DerForm::certificate : DerForm::other;
}

// --- Texts ----------------------------------------------------------------------------------------------------

std::int32_t base64Value(char c) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t found = alphabet.find(c);
    return found == std::string_view::npos ? -1 : static_cast<std::int32_t>(found);
}

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// White space may stand anywhere, padding ends the text; empty when a byte is neither.
std::vector<std::uint8_t> decodeBase64(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t bits = 0;
    std::uint32_t count = 0;
    for (const char c : text) {
        if (isSpace(c)) {
            continue;
        }
        const std::int32_t value = base64Value(c);
        if (value < 0) {
            return c == '=' ? bytes : std::vector<std::uint8_t>();
        }
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        if (++count % 4 != 1) {
            bytes.push_back(static_cast<std::uint8_t>(bits >> (8 - count % 4 * 2) % 8));
        }
    }
    return bytes;
}

// DER begins with 0x30, its base64 text with this.
constexpr char kFirstOfDerInBase64 = 'M';

std::vector<std::uint8_t> decodeBareBase64(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    return text.starts_with(kFirstOfDerInBase64) ? decodeBase64(text) : std::vector<std::uint8_t>();
}

struct PemBlock {
    std::string_view label;
    std::string_view body;

    bool isPublicKey() const { return label.ends_with("PUBLIC KEY"); }
    bool isCertificate() const { return label.find("CERTIFICATE") != std::string_view::npos; }
};

// Takes the next block off the text; its body ends where the next dashes are.
std::optional<PemBlock> takePemBlock(std::string_view& text) {
    constexpr std::string_view begin = "-----BEGIN ";
    constexpr std::string_view dashes = "-----";
    const std::size_t start = text.find(begin);
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(start + begin.size());
    const std::size_t labelEnd = text.find(dashes);
    if (labelEnd == std::string_view::npos) {
        return std::nullopt;
    }
    PemBlock block{text.substr(0, labelEnd), {}};
    text.remove_prefix(labelEnd + dashes.size());
    block.body = text.substr(0, text.find(dashes));
    return block;
}

std::string_view asText(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

bool isPublicKeyForm(Bytes key) {
    if (formOf(key) != DerForm::other) {
        return true;
    }
    std::string_view text = asText(key);
    while (const auto block = takePemBlock(text)) {
        if (block->isPublicKey() || block->isCertificate()) {
            return true;
        }
    }
    return formOf(decodeBareBase64(asText(key))) != DerForm::other;
}

std::vector<std::uint8_t> certificateOfText(Bytes bytes) {
    std::string_view text = asText(bytes);
    while (const auto block = takePemBlock(text)) {
        if (block->isCertificate()) {
            return decodeBase64(block->body);
        }
    }
    std::vector<std::uint8_t> der = decodeBareBase64(asText(bytes));
    return formOf(der) == DerForm::certificate ? der : std::vector<std::uint8_t>();
}

}  // namespace quorvanti

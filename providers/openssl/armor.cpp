#include "providers/openssl/armor.h"

#include <cstddef>

namespace quorvanti::provider {
namespace {

constexpr std::uint8_t derSequence = 0x30;
constexpr std::string_view begin = "-----BEGIN ";
constexpr std::string_view end = "-----END ";
constexpr std::string_view dashes = "-----";

std::string_view asText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool isSpace(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

int sextet(char character) {
    if (character >= 'A' && character <= 'Z')
        return character - 'A';
    if (character >= 'a' && character <= 'z')
        return character - 'a' + 26;
    if (character >= '0' && character <= '9')
        return character - '0' + 52;
    if (character == '+')
        return 62;
    return character == '/' ? 63 : -1;
}

struct PemBlock {
    std::string_view label;
    std::string_view base64;
};

std::optional<PemBlock> findBlock(std::string_view text, std::string_view label) {
    for (std::size_t at = text.find(begin); at != std::string_view::npos; at = text.find(begin, at + 1)) {
        const std::size_t labelStart = at + begin.size();
        const std::size_t labelEnd = text.find(dashes, labelStart);
        if (labelEnd == std::string_view::npos)
            return std::nullopt;
        const std::string_view found = text.substr(labelStart, labelEnd - labelStart);
        if (!found.ends_with(label) || found.find('\n') != std::string_view::npos)
            continue;
        const std::size_t contentStart = labelEnd + dashes.size();
        const std::size_t contentEnd = text.find(end, contentStart);
        if (contentEnd == std::string_view::npos)
            return std::nullopt;
        return PemBlock{found, text.substr(contentStart, contentEnd - contentStart)};
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> decodeBase64(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    std::size_t count = 0;
    std::size_t padding = 0;
    for (const char character : text) {
        if (isSpace(character))
            continue;
        const int value = sextet(character);
        if (character == '=' && ++padding <= 2)
            continue;
        if (value < 0 || padding > 0)
            return std::nullopt;
        bits = bits << 6U | static_cast<std::uint32_t>(value);
        if (++count % 4 == 0) {
            for (const unsigned shift : {16U, 8U, 0U})
                bytes.push_back(static_cast<std::uint8_t>(bits >> shift));
            bits = 0;
        }
    }
    const std::size_t rest = count % 4;
    if ((count + padding) % 4 != 0 || rest == 1)
        return std::nullopt;
    if (rest == 2)
        bytes.push_back(static_cast<std::uint8_t>(bits >> 4U));
    if (rest == 3) {
        bytes.push_back(static_cast<std::uint8_t>(bits >> 10U));
        bytes.push_back(static_cast<std::uint8_t>(bits >> 2U));
    }
    return bytes;
}

std::vector<std::uint8_t> withoutArmor(std::span<const std::uint8_t> content, std::string_view label) {
    if (!content.empty() && content.front() == derSequence)
        return {content.begin(), content.end()};
    const std::string_view text = asText(content);
    const auto block = findBlock(text, label);
    auto bytes = decodeBase64(block ? block->base64 : text);
    return bytes ? std::move(*bytes) : std::vector<std::uint8_t>();
}

std::string_view pemLabel(std::span<const std::uint8_t> content, std::string_view label) {
    if (!content.empty() && content.front() == derSequence)
        return {};
    const auto block = findBlock(asText(content), label);
    return block ? block->label : std::string_view();
}

}  // namespace quorvanti::provider

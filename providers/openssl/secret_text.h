// A text that is wiped when it goes.
#pragma once

#include <openssl/crypto.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace quorvanti::provider {

class SecretText {
public:
    explicit SecretText(std::string_view text) : characters_(text.size() + 1) {
        text.copy(characters_.data(), text.size());
    }
    ~SecretText() { OPENSSL_cleanse(characters_.data(), characters_.size()); }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;

    const char* c_str() const { return characters_.data(); }
    std::string_view view() const { return {characters_.data(), characters_.size() - 1}; }
    bool hasNul() const { return view().find('\0') != std::string_view::npos; }

private:
    std::vector<char> characters_;  // the last one is the terminator
};

}  // namespace quorvanti::provider

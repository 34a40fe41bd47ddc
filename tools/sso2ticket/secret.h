// A password while it is in memory: never copied, wiped at the end.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvanti {

class Secret {
public:
    Secret() : characters_(limit + 1) {}
    ~Secret() { wipe(); }
    Secret(Secret&& other) noexcept
        : characters_(std::move(other.characters_)), length_(std::exchange(other.length_, 0)) {}
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    Secret& operator=(Secret&&) = delete;

    // False when it has become longer than any password is.
    bool append(char character) {
        if (length_ == limit) {
            return false;
        }
        characters_[length_++] = character;
        return true;
    }
    const char* text() const { return characters_.data(); }
    std::string_view view() const { return {characters_.data(), length_}; }

private:
    static constexpr std::size_t limit = 1024;  // the place is taken once: growing would leave copies behind

    void wipe() {
        volatile char* character = characters_.data();
        for (std::size_t i = 0; i < characters_.size(); ++i) {
            character[i] = 0;
        }
    }

    std::vector<char> characters_;
    std::size_t length_ = 0;
};

}  // namespace quorvanti

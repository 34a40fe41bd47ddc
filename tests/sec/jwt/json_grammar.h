// Tells JSON texts from others, slowly.
#pragma once

#include <string_view>

namespace quorvanti::test {

// An oracle in the obvious way: the grammar, one function a rule, by recursion.
class JsonGrammar {
public:
    static bool accepts(std::string_view text) {
        JsonGrammar grammar{text};
        return grammar.space() && grammar.value() && grammar.space() && grammar.rest_.empty();
    }

private:
    explicit JsonGrammar(std::string_view text) : rest_(text) {}

    bool take(std::string_view word) {
        if (rest_.substr(0, word.size()) != word) {
            return false;
        }
        rest_.remove_prefix(word.size());
        return true;
    }
    bool takeOneOf(std::string_view characters) {
        if (rest_.empty() || characters.find(rest_[0]) == std::string_view::npos) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }
    bool space() {
        while (takeOneOf(" \t\r\n")) {
        }
        return true;
    }
    bool next(std::string_view characters) const {
        return !rest_.empty() && characters.find(rest_[0]) != std::string_view::npos;
    }
    bool value() {
        return next("{")             ? object()
               : next("[")           ? array()
               : next("\"")          ? string()
               : next("-0123456789") ? number()
                                     : take("true") || take("false") || take("null");
    }
    bool list(std::string_view end, bool (JsonGrammar::*element)()) {
        space();
        if (take(end)) {
            return true;
        }
        do {
            space();
            if (!(this->*element)()) {
                return false;
            }
            space();
        } while (take(","));
        return take(end);
    }
    bool member() { return string() && space() && take(":") && space() && value(); }
    bool object() { return take("{") && list("}", &JsonGrammar::member); }
    bool array() { return take("[") && list("]", &JsonGrammar::value); }
    bool string() {
        if (!take("\"")) {
            return false;
        }
        while (!take("\"")) {
            if (take("\\u")) {
                for (int digit = 0; digit < 4; ++digit) {
                    if (!takeOneOf("0123456789abcdefABCDEF")) {
                        return false;
                    }
                }
            } else if (take("\\")) {
                if (!takeOneOf("\"\\/bfnrt")) {
                    return false;
                }
            } else if (rest_.empty() || static_cast<unsigned char>(rest_[0]) < 0x20) {
                return false;
            } else {
                rest_.remove_prefix(1);
            }
        }
        return true;
    }
    bool digits() {
        if (!takeOneOf("0123456789")) {
            return false;
        }
        while (takeOneOf("0123456789")) {
        }
        return true;
    }
    bool number() {
        take("-");
        if (!take("0") && !digits()) {
            return false;
        }
        if (take(".") && !digits()) {
            return false;
        }
        if (takeOneOf("eE")) {
            takeOneOf("+-");
            return digits();
        }
        return true;
    }

    std::string_view rest_;
};

}  // namespace quorvanti::test

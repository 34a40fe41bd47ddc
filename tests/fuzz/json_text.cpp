// The tokenizer agrees with the grammar on any text, and its tokens lie where they should.
#include "sec/jwt/json_tokens.h"
#include "tests/sec/jwt/json_grammar.h"

#include <cstdlib>
#include <vector>

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvanti;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<JsonToken> tokens(size + 1);
    const std::int32_t count = jsonTokenize(text, tokens);
    if (size < 2000) {  // the grammar is recursive
        require((count > 0) == test::JsonGrammar::accepts(text));
    }
    require(count > 0 || count == kJsonMalformed);
    if (count <= 0) {
        return 0;
    }
    const auto found = static_cast<std::size_t>(count);
    std::vector<std::uint32_t> children(found);
    for (std::size_t at = 0; at < found; ++at) {
        const JsonToken& token = tokens[at];
        require(token.start <= token.end && token.end <= size);
        require(token.parent < static_cast<std::int32_t>(at) && (token.parent < 0) == (at == 0));
        if (token.parent >= 0) {
            ++children[static_cast<std::size_t>(token.parent)];
        }
    }
    for (std::size_t at = 0; at < found; ++at) {
        require(children[at] == tokens[at].children);
    }
    std::vector<JsonToken> tooFew(found - 1);
    require(jsonTokenize(text, tooFew) == kJsonNoRoom);
    return 0;
}

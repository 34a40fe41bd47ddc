// Any text can be taken apart and shown, and what is shown of it is text.
#include "tools/sso2ticket/token_dissection.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvanti;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const TokenDissection token = dissectToken(text);
    const TokenJson json = readTokenJson(text);
    if (token.problem.empty() && !(token.header && token.claims && token.signatureLength)) {
        std::abort();
    }
    if (!json.object && json.problem.empty()) {
        std::abort();
    }
    for (const std::optional<Json>* object : {&token.header, &token.claims, &json.object}) {
        if (*object) {
            dump(**object);
            dump(timesJson(**object));
            if (claimsText(**object).find('\x1B') != std::string::npos) {
                std::abort();
            }
        }
    }
    algorithmOf(token);
    return 0;
}

#include "tools/sso2ticket/token_advice.h"

#include <algorithm>
#include <iterator>

namespace quorvanti {

namespace {

struct Advice {
    std::string_view part;  // of the library's text
    const char* next;
};

constexpr Advice advices[] = {
    {"is expired",
     "Get a new token. If it should still be valid, compare the clocks here and at the issuer: there is no tolerance."},
    {"not valid yet", "Compare the clocks here and at the issuer: there is no tolerance."},
    {"signature validation failed",
     "Check that the text arrived unchanged and that --key or --secret-file holds the issuer's key; a line end at the "
     "end of a secret file is part of the secret."},
    {"type is not JWT", "The issuer must put \"alg\" before \"typ\" in the header, or leave \"typ\" out."},
    {"header parsed", "The issuer must put \"alg\" and at most one other name into the header."},
    {"algorithm not valid", "The issuer must sign with HS256, HS384, HS512, RS256, RS384 or RS512."},
    {"already parsed", "The issuer must name each claim once, also counting nested objects and lists."},
    {"is without", "The issuer must put the claim into the token, or do not ask for it."},
    {"is with different", "Compare with what jwt inspect shows: all bytes count, as they are spelled in the token."},
    {"audience is not valid",
     "Compare with what jwt inspect shows: all bytes count, as they are spelled in the token."},
    {"base64", "Check that the whole text arrived; each part is base64url without padding."},
    {"body", "The issuer must send one JSON object, with values that are longer than their nesting is deep."},
    {"JWT received", "Check that the whole text arrived: three parts with dots between them."},
};

}  // namespace

std::string tokenAdvice(std::string_view reason) {
    const auto* const found = std::find_if(std::begin(advices), std::end(advices), [reason](const Advice& advice) {
        return reason.find(advice.part) != std::string_view::npos;
    });
    return found != std::end(advices) ? found->next : "Look at the token with jwt inspect.";
}

}  // namespace quorvanti

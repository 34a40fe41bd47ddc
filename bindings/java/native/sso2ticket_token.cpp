// The method that evaluates a JSON Web Token.
#include <quorvanti/voraksso.h>

#include "bindings/java/native/java_call.h"
#include "bindings/java/native/sso2ticket.h"

#include <algorithm>
#include <memory>
#include <new>

using namespace quorvanti;

namespace {

constexpr std::size_t kTokenMessageRoom = 660;

jobjectArray claimsToJava(JavaCall& call, const JwtResult& result) {
    if (result.payloadLength == 0) {
        call.raise(kMessageRoom, "JWT contains no payload.");
        return nullptr;
    }
    if (result.nameId == nullptr || result.nameIdLength == 0) {
        call.raise(kMessageRoom, "JWT contains no UserId.");
        return nullptr;
    }
    ObjectArray claims(call, 2);
    claims.add(call.string({result.payload, result.payloadLength}));
    claims.add(call.string({result.nameId, result.nameIdLength}));
    return claims.result();
}

}  // namespace

JNIEXPORT jobjectArray JNICALL Java_com_vorak_sso_SSO2Ticket_evalJWToken(JNIEnv* env, jclass, jstring token,
                                                                         jstring nameIdClaim) {
    return javaMethod(env, [&](JavaCall& call) -> jobjectArray {
        const MethodTrace trace("JAVA: evalJWToken was called.\n", "JAVA: End of evalJWToken\n");
        const TextArgument tokenText(call, token);
        const TextArgument claim(call, nameIdClaim);
        if (call.pending()) {
            return nullptr;
        }
        if (token == nullptr) {
            call.raise(kMessageRoom, "No JWT set. JWT pointer=%p", static_cast<const void*>(nullptr));
            return nullptr;
        }
        // A payload is shorter than the token that carries it.
        const std::size_t room = std::max<std::size_t>(tokenText.length(), 1);
        const std::unique_ptr<char[]> payload(new (std::nothrow) char[room]);
        if (payload == nullptr) {
            call.raise(kMessageRoom, "No memory for Payload Buffer. JWT pointer=%p",
                       static_cast<const void*>(tokenText.get()));
            return nullptr;
        }
        JwtResult result{};
        result.structSize = sizeof result;
        result.payload = payload.get();
        result.payloadLength = room;
        const std::int32_t code =
            VorakEvalJWToken(tokenText.get(), tokenText.length(), nullptr, 0, claim.get(), &result);
        if (code != VORAK_OK) {
            call.raise(kTokenMessageRoom, "VorakEvalJWToken failed: standard error= %d, description= %.512s", code,
                       result.errorText);
            return nullptr;
        }
        return claimsToJava(call, result);
    });
}

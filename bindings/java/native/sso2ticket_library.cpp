// The methods about the library itself: start, version, properties, keys, certificates.
#include <quorvanti/voraksso.h>

#include "bindings/certificate_infos.h"
#include "bindings/java/native/java_call.h"
#include "bindings/java/native/sso2ticket.h"
#include "sec/voraksso/properties.h"

#include <array>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

using namespace quorvanti;

namespace {

// Named on every platform: callers know the message as it stands.
constexpr char kDefaultLibrary[] = "kavcrypto.dll";
constexpr int kJavaInterfaceVersion = 15;

void raiseInitFailure(JavaCall& call, std::int32_t code, const char* library) {
    if (code != VORAK_CRYPTO_FAILED) {
        call.raise(kMessageRoom, "VorakInitialize failed: rc= %d", code);
    } else if (library == nullptr) {
        call.raise(kMessageRoom, "Could not find and load the default library %s", kDefaultLibrary);
    } else {
        call.raise(kMessageRoom, "Could not load SSF library %s. Check the property SSF_LIB", library);
    }
}

}  // namespace

JNIEXPORT jboolean JNICALL Java_com_vorak_sso_SSO2Ticket_init(JNIEnv* env, jclass, jstring library) {
    return javaMethod(env, [&](JavaCall& call) -> jboolean {
        const MethodTrace trace("JAVA: init was called.\n", "JAVA: End of init \n");
        const TextArgument argument(call, library);
        if (call.pending()) {
            return JNI_FALSE;
        }
        const std::optional<std::string> standard = library == nullptr ? propertyText("SSF_LIB") : std::nullopt;
        const char* chosen = standard ? standard->c_str() : argument.get();
        const std::int32_t code = VorakInitialize(chosen);
        if (code != VORAK_OK) {
            raiseInitFailure(call, code, chosen);
            return JNI_FALSE;
        }
        return JNI_TRUE;
    });
}

JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_getVersion(JNIEnv* env, jclass) {
    return javaMethod(env, [&](JavaCall& call) -> jstring {
        char text[32];
        std::snprintf(text, sizeof text, "QUORVANTI %d", kJavaInterfaceVersion);
        return call.string(text);
    });
}

JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_getProperty(JNIEnv* env, jclass, jstring name) {
    return javaMethod(env, [&](JavaCall& call) -> jstring {
        const MethodTrace trace("JAVA: getProperty was called.\n", "JAVA: End of getProperty \n");
        const TextArgument argument(call, name);
        if (call.pending()) {
            return nullptr;
        }
        const std::optional<std::string> value = propertyText(argument.get());  // others may set it meanwhile
        return value ? call.string(*value) : nullptr;
    });
}

JNIEXPORT jboolean JNICALL Java_com_vorak_sso_SSO2Ticket_setProperty(JNIEnv* env, jclass, jstring name, jstring value) {
    return javaMethod(env, [&](JavaCall& call) -> jboolean {
        TRACE(3, "JAVA: setProperty was called.\n");
        std::int32_t code = VORAK_NO_MEMORY;
        {
            const TextArgument nameText(call, name);
            const TextArgument valueText(call, value);
            if (!call.pending()) {
                code = QuorvantiSetProperty(nameText.get(), valueText.get());
            }
        }
        TRACE(3, "JAVA: End of setProperty (rc==%d)\n", code);
        return code == VORAK_OK ? JNI_TRUE : JNI_FALSE;
    });
}

JNIEXPORT jboolean JNICALL Java_com_vorak_sso_SSO2Ticket_loadKey(JNIEnv* env, jclass, jbyteArray key, jstring password,
                                                                 jint reserved, jint keyType) {
    return javaMethod(env, [&](JavaCall& call) -> jboolean {
        const MethodTrace trace("JAVA: loadKey was called\n", "JAVA: End of loadKey\n");
        const TextArgument passwordText(call, password);
        const BytesArgument content(call, key);
        if (call.pending()) {
            return JNI_FALSE;
        }
        const std::int32_t code = VorakLoadTicketKey(content.data(), content.size(), passwordText.get(), reserved,
                                                     static_cast<std::uint32_t>(keyType));
        return code == VORAK_OK ? JNI_TRUE : JNI_FALSE;
    });
}

JNIEXPORT jstring JNICALL Java_com_vorak_sso_SSO2Ticket_parseCertificate(JNIEnv* env, jclass, jbyteArray certificate,
                                                                         jint infoId) {
    return javaMethod(env, [&](JavaCall& call) -> jstring {
        const MethodTrace trace("JAVA: parseCertificate was called\n", "JAVA: End of parseCertificate\n");
        if (certificate == nullptr) {
            return nullptr;
        }
        if (infoId < 0 || infoId >= static_cast<jint>(std::size(kCertificateInfos))) {
            call.raise(kMessageRoom, "Invalid info request id passed: ID= %d", static_cast<int>(infoId));
            return nullptr;
        }
        const BytesArgument content(call, certificate);
        constexpr std::int32_t room = 16384;
        const auto text = std::make_unique<std::array<std::uint8_t, room>>();
        std::int32_t length = room;
        const std::int32_t code = VorakParseCertificate(content.data(), static_cast<std::uint32_t>(content.size()),
                                                        kCertificateInfos[infoId], text->data(), &length);
        if (code != VORAK_OK) {
            call.raiseFailure("VorakParseCertificate", code);
            return nullptr;
        }
        return call.string({reinterpret_cast<const char*>(text->data()), static_cast<std::size_t>(length)});
    });
}

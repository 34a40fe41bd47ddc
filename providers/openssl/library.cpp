// Start and stop of the library, what it says of itself, and its words on the last error.
#include <array>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <mutex>

#include "providers/openssl/boundary.h"
#include "providers/openssl/hand_out.h"
#include "providers/openssl/key_store.h"

namespace quorvanti::provider {
namespace {

constexpr const char* libraryName = "kavcrypto 1.0.0";
constexpr std::int32_t interfaceLevel = 8;  // above 7: kavcr_done is to be called
constexpr std::string_view fipsProperty = "FIPS_140_2_CRYPTO_KERNEL_ACTIVE";

struct VersionRecord {
    std::int32_t interfaceLevel;
    std::array<std::uint8_t, 36> reserved;
    std::uint32_t recordSize;
    std::array<std::uint8_t, 12> reserved2;
    const char* text;
};
static_assert(offsetof(VersionRecord, recordSize) == 40);
static_assert(offsetof(VersionRecord, text) == 56);

using VersionText = std::array<char, 96>;

// The version of the OpenSSL that is in use, not of the one this was compiled with.
const char* versionText() {
    static const VersionText text = [] {
        VersionText made{};
        std::snprintf(made.data(), made.size(), "%s (OpenSSL %s)", libraryName,
                      OpenSSL_version(OPENSSL_VERSION_STRING));
        return made;
    }();
    return text.data();
}

const VersionRecord& versionRecord() {
    static const VersionRecord record{interfaceLevel, {}, sizeof(VersionRecord), {}, versionText()};
    return record;
}

std::mutex usersMutex;
long users = 0;

// clang-format off
constexpr struct { std::int32_t code; const char* name; } codeNames[] = {
    { SSF_API_NOSECTK,                  "SSF_API_NOSECTK"                  },
    { SSF_API_INVALID_FORMAT,           "SSF_API_INVALID_FORMAT"           },
    { SSF_API_NODATA,                   "SSF_API_NODATA"                   },
    { SSF_API_NOMEMORY,                 "SSF_API_NOMEMORY"                 },
    { SSF_API_SIGNER_ERRORS,            "SSF_API_SIGNER_ERRORS"            },
    { SSF_API_NORESULTLISTMEMORY,       "SSF_API_NORESULTLISTMEMORY"       },
    { SSF_API_UNKNOWN_PAB,              "SSF_API_UNKNOWN_PAB"              },
    { SSF_API_INVALID_PAB_PASSWORD,     "SSF_API_INVALID_PAB_PASSWORD"     },
    { SSF_API_RECIPIENT_ERRORS,         "SSF_API_RECIPIENT_ERRORS"         },
    { SSF_API_INVALID_MDALG,            "SSF_API_INVALID_MDALG"            },
    { SSF_API_ENCODE_FAILED,            "SSF_API_ENCODE_FAILED"            },
    { SSF_API_DECODE_FAILED,            "SSF_API_DECODE_FAILED"            },
    { SSF_API_UNKNOWN_SECTK_ERROR,      "SSF_API_UNKNOWN_SECTK_ERROR"      },
    { SSF_API_SECTK_FUNCTION_NOT_AVAIL, "SSF_API_SECTK_FUNCTION_NOT_AVAIL" },
    { SSF_API_INVALID_FUNCARGS,         "SSF_API_INVALID_FUNCARGS"         },
    { SSF_API_INTERNAL_BUG,             "SSF_API_INTERNAL_BUG"             },
    { SSF_API_INSECURE_MDALG,           "SSF_API_INSECURE_MDALG"           },
    { SSF_API_CERT_EXPIRED,             "SSF_API_CERT_EXPIRED"             },
    { SSF_API_PROFILE_LOCKED,           "SSF_API_PROFILE_LOCKED"           },
    { SSF_API_UNKNOWN_SIGNER,           "SSF_API_UNKNOWN_SIGNER"           },
    { SSF_API_UNKNOWN_PROFILE,          "SSF_API_UNKNOWN_PROFILE"          },
    { SSF_API_INVALID_PROFILE,          "SSF_API_INVALID_PROFILE"          },
    { SSF_API_INVALID_PASSWORD,         "SSF_API_INVALID_PASSWORD"         },
    { SSF_API_NOCERTIFICATE,            "SSF_API_NOCERTIFICATE"            },
    { SSF_API_SIGNER_NOT_OK,            "SSF_API_SIGNER_NOT_OK"            },
    { SSF_API_UNDEFINED_RESULT,         "SSF_API_UNDEFINED_RESULT"         },
    { SSF_API_BAD_NAME,                 "SSF_API_BAD_NAME"                 },
    { SSF_API_ALG_MISMATCH,             "SSF_API_ALG_MISMATCH"             },
    { SSF_API_REVOCATION_CERT_REVOKED,  "SSF_API_REVOCATION_CERT_REVOKED"  },
};
// clang-format on

std::string_view codeName(std::int32_t code) {
    for (const auto& row : codeNames) {
        if (row.code == code)
            return row.name;
    }
    return "unknown SSF code";
}

void clear(char** text, std::int32_t* length) {
    if (text != nullptr)
        *text = nullptr;
    if (length != nullptr)
        *length = 0;
}

// A text and its length are asked for together or not at all.
bool isPair(char** text, const std::int32_t* length) {
    return (text == nullptr) == (length == nullptr);
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t kavcr_init(void) {
    return boundary([] {
        const std::lock_guard lock(usersMutex);
        if (libraryContext() == nullptr)
            return fail(SSF_API_UNKNOWN_SECTK_ERROR, "OpenSSL could not be started: no library context.");
        atLibraryStop(forgetKeyStores);
        ++users;
        return SSF_API_OK;
    });
}

int32_t kavcr_done(void) {
    return boundary([] {
        const std::lock_guard lock(usersMutex);
        if (users > 0 && --users == 0)
            stopLibrary();
        return SSF_API_OK;
    });
}

int32_t kavcr_get_version(const void** record) {
    if (record == nullptr)
        return invalidArguments("kavcr_get_version");
    *record = &versionRecord();
    return SSF_API_OK;
}

int32_t kavcr_set_property_int(const char* name, int32_t value) {
    if (name == nullptr)
        return invalidArguments("kavcr_set_property_int");
    if (name != fipsProperty)
        return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL, "This crypto library has no integer property of that name.");
    if (value == 0)
        return SSF_API_OK;
    return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL,
                "The FIPS 140-2 mode cannot be switched on: this crypto library runs on OpenSSL's default provider.");
}

int32_t kavcr_get_property_int(const char* name, int32_t* value) {
    if (value != nullptr)
        *value = 0;
    if (name == nullptr || value == nullptr)
        return invalidArguments("kavcr_get_property_int");
    if (name != fipsProperty)
        return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL, "This crypto library has no integer property of that name.");
    return SSF_API_OK;
}

int32_t SsfVersion(char** text, int32_t* textLength) {
    clear(text, textLength);
    if (text == nullptr || textLength == nullptr)
        return invalidArguments("SsfVersion");
    if (!handOut(std::string_view(versionText()), text, textLength))
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    return SSF_API_OK;
}

int32_t SsfSecTKLastErrorInfo(int32_t code, int32_t* hasInfo, char** text1, int32_t* text1Length, char** text2,
                              int32_t* text2Length) {
    clear(text1, text1Length);
    clear(text2, text2Length);
    if (hasInfo != nullptr)
        *hasInfo = 0;
    // A question about an error is not an error of its own: the record stays.
    if (hasInfo == nullptr || !isPair(text1, text1Length) || !isPair(text2, text2Length))
        return SSF_API_INVALID_FUNCARGS;
    const LastError last = lastError();
    // Codes up to 0 ask for whatever was last; any other asks about itself.
    if (last.code == SSF_API_OK || (code > 0 && code != last.code))
        return SSF_API_OK;
    if (text1 != nullptr && !handOut(codeName(last.code), text1, text1Length))
        return SSF_API_NOMEMORY;
    if (text2 != nullptr && !handOut(last.sentence, text2, text2Length)) {
        if (text1 != nullptr)
            SsfDELSsfOctetstring(text1, text1Length);
        return SSF_API_NOMEMORY;
    }
    *hasInfo = 1;
    return SSF_API_OK;
}

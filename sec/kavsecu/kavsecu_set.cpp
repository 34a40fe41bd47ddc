#include "sec/kavsecu/kavsecu_set.h"

#include "base/dptrc/dptrace.h"
#include "sec/kavsecu/kavsecu_state.h"

#include <quorvanti/ssf.h>

#include <array>
#include <cstddef>
#include <iterator>
#include <string>

namespace quorvanti {

namespace {

constexpr char kTraceUnit[] = "sec/kavsecu/secuload";

// The lines that operators know these messages by.
constexpr int kRequiredNameLine = 400;
constexpr int kStartLine = 555;
constexpr int kLoadFunctionLine = 680;

constexpr std::size_t kRequiredNames = 16;
constexpr const char* kNames[] = {
    // Required.
    "kavcr_init",
    "kavcr_done",
    "aux_sprint_DName",
    "aux_sprint_Validity",
    "aux_sprint_Serialnumber",
    "aux_free_String",
    "aux_free_Certificate",
    "d_Certificate",
    "kav_secin",
    "kav_seclogin",
    "sec_open",
    "sec_close",
    "sec_chpin",
    "aux_Name2DName",
    "aux_free_DName",
    "kavsecu_parseobject",
    // Optional.
    "kavsecu_decode_cert",
    "kavsecu_create_CertEntryList",
    "kavsecu_sprint_CertEntryList",
    "kavsecu_free_CertEntryList",
    "kavsecu_DName2CertEntryList",
    "kavsecu_SecudeName2CertEntryList",
    "kavsecu_Name2CertEntryList",
    "aux_get_subject_of_Certificate",
    "aux_get_issuer_of_Certificate",
    "aux_get_serialnumber_of_Certificate",
    "aux_get_validity_of_Certificate",
    "aux_latin1_to_unicode",
    "pkcs12_generate_key",
    "sec_decrypt_all",
    "aux_free_Key",
    "aux_free_OctetString",
    "kavcr_set_property_int",
    "kavcr_get_property_int",
};
constexpr std::size_t kGetPropertyInt = std::size(kNames) - 1;
static_assert(std::size(kNames) == std::tuple_size_v<decltype(KavSecuSet::entryPoints)>);

KavSecuSet theSet;
std::string libraryName;

bool isStarted() {
    return theSet.state == KavSecuState::complete || theSet.state == KavSecuState::incomplete;
}

bool resolve(std::int32_t handle, std::size_t index) {
    const char* const name = kNames[index];
    if (DlLoadFunc(handle, name, theSet.entryPoints[index]) == kDlOk) {
        TRACE(2, "%.32s(): loaded function >%.256s<.\n", "KavSecuInit", name);
        return true;
    }
    theSet.entryPoints[index] = nullptr;
    if (index < kRequiredNames) {
        TRACE_ERROR_AT(kRequiredNameLine, "%.32s(): could not load function >%.256s<.\n", "KavSecuInit", name);
    } else {
        TRACE(2, "%.32s(): could not load function >%.256s<.\n", "KavSecuInit", name);
    }
    return false;
}

void reportFipsMode() {
    theSet.fipsMode = 0;
    const auto getProperty = reinterpret_cast<decltype(&::kavcr_get_property_int)>(theSet.entryPoints[kGetPropertyInt]);
    if (getProperty == nullptr) {
        return;
    }
    std::int32_t mode = 0;
    getProperty("FIPS_140_2_CRYPTO_KERNEL_ACTIVE", &mode);
    theSet.fipsMode = mode;
    TRACE(2, "%.32s(): FIPS 140-2 mode in libkavsecu is %s\n", "KavSecuInit", mode == 1 ? "enabled" : "disabled");
}

// Opens the library of a set that is not started; 0 or 102.
std::int32_t startByName() {
    if (DlLoadLib(libraryName.empty() ? nullptr : libraryName.c_str(), theSet.handle) != kDlOk) {
        TRACE_ERROR_AT(kStartLine, "%.32s(): could not load libkavsecu >%.256s< \n", "KavSecuInit",
                       libraryName.c_str());
        theSet.state = KavSecuState::unavailable;
        return kKavSecuUnavailable;
    }
    TRACE(2, "%.32s(): libkavsecu loaded from >%.256s<\n", "KavSecuInit", libraryName.c_str());
    KavSecuInit(theSet.handle);
    theSet.refCount = 1;
    return 0;
}

}  // namespace

const KavSecuSet& kavSecuSet() {
    return theSet;
}

void KavSecuSetLibraryName(const char* name) {
    libraryName = name == nullptr ? "" : name;
}

std::int32_t KavSecuInit(std::int32_t handle) {
    bool isComplete = true;
    for (std::size_t index = 0; index < std::size(kNames); ++index) {
        isComplete = resolve(handle, index) && isComplete;
    }
    reportFipsMode();
    theSet.state = isComplete ? KavSecuState::complete : KavSecuState::incomplete;
    return 0;
}

void KavSecuAttach(std::int32_t tableHandle) {
    if (isStarted()) {
        ++theSet.refCount;
    } else if (theSet.state == KavSecuState::notStarted && tableHandle == kDlNoHandle) {
        startByName();
    } else if (theSet.state == KavSecuState::notStarted) {
        theSet.handle = tableHandle;
        KavSecuInit(theSet.handle);
        theSet.refCount = 2;  // the table, which owns the handle, and the set: so the handle is released once
    }
}

void KavSecuDetach() {
    if (isStarted() && --theSet.refCount == 0) {
        DlUnloadLib(theSet.handle);
    }
    theSet = KavSecuSet{};
}

std::int32_t KavSecu_LoadFunction(const char* name, DlFunction& function) {
    function = nullptr;
    if (theSet.state == KavSecuState::notStarted) {
        if (const std::int32_t result = startByName(); result != 0) {
            return result;
        }
    }
    if (theSet.handle == kDlNoHandle || !isStarted()) {
        return kKavSecuUnavailable;
    }
    if (DlLoadFunc(theSet.handle, name, function) == kDlOk) {
        TRACE(2, "%.32s(): loaded function >%.256s<.\n", "KavSecu_LoadFunction", name);
        return 0;
    }
    function = nullptr;
    TRACE_ERROR_AT(kLoadFunctionLine, "%.32s(): could not load function >%.256s<.\n", "KavSecu_LoadFunction", name);
    return kKavSecuUnavailable;
}

}  // namespace quorvanti

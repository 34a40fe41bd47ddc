// Brings the library up and takes it down again.
#include "base/dptrc/dptrace.h"
#include "base/dptrc/release.h"
#include "krn/dl/dl.h"
#include "krn/env/environment.h"
#include "sec/jwt/jwt_engine.h"
#include "sec/kavsecu/kavsecu_set.h"
#include "sec/voraksso/build_facts.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/platform_facts.h"
#include "sec/voraksso/state.h"

#include <memory>
#include <string>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

// Counts the threads inside VorakInitialize: those that come while another is at it find the trace open and must not
// open it again, which would lose the lines written so far.
class StartInProgress {
public:
    StartInProgress() {
        const StartGuard guard;
        if (running_ == 0 && libraryState().initialized == 0) {
            openTraceOfEnvironment();
        }
        ++running_;
    }
    ~StartInProgress() {
        const StartGuard guard;
        --running_;
    }
    StartInProgress(const StartInProgress&) = delete;
    StartInProgress& operator=(const StartInProgress&) = delete;

private:
    // The level first, so that it is known when the file opens.
    static void openTraceOfEnvironment() {
        const char* target = QuorvantiGetProperty("KAV_EXT_TRC");
        if (target == nullptr) {
            return;
        }
        const std::string level = QuorvantiGetProperty("KAV_EXT_TRL");
        const std::string name = target;
        QuorvantiSetProperty("KAV_EXT_TRL", level.c_str());
        QuorvantiSetProperty("KAV_EXT_TRC", name.c_str());
    }

    static inline int running_ = 0;
};

void writeBanner() {
    TRACE(0, "    Initializing QUORVANTI Version %d \n", kInterfaceVersion);
    TRACE(0, "    Built at %s %s using release %s, patch %d \n", kBuildDate, kBuildTime, kRelease, kPatch);
    TRACE(0, "    %s on %s environment with (KAV_CHAR/size_t/void* = %u/%u/%u)\n", kSystemName, "multithread", 8U,
          static_cast<unsigned>(8 * sizeof(std::size_t)), static_cast<unsigned>(8 * sizeof(void*)));
}

struct CryptoLibrary {
    std::string name;
    std::int32_t handle = kDlNoHandle;  // of a library that the probe opened
};

CryptoLibrary chooseCryptoLibrary(const char* named) {
    CryptoLibrary library;
    if (named != nullptr && *named != '\0') {
        library.name = named;
        return library;
    }
    if (const char* fromEnvironment = environmentValue("SSF_LIB")) {
        library.name = fromEnvironment;
        TRACE(2, "Use SSF_LIB = %s \n ", fromEnvironment);
        return library;
    }
    TRACE(2, "No SSF_LIB environment set use default: %s \n ", kDefaultCryptoLibraries[0]);
    for (const char* standard : kDefaultCryptoLibraries) {
        library.name = standard;
        if (DlLoadLib(standard, library.handle, DlReport::nothing) == kDlOk) {
            break;
        }
    }
    return library;
}

void unload(SsfFunctionTable& table) {
    SsfUnloadFunctions(table);
    libraryState().ticketKey.decodeCertificate = nullptr;
}

// After a start that failed: gives the handles back, so that a later start begins clean.
void giveBack(SsfFunctionTable& table, std::int32_t probeHandle) {
    if (table.libraryHandle == kDlNoHandle) {
        table.libraryHandle = probeHandle;
    }
    // A library that did not start is not stopped.
    table.available[static_cast<std::size_t>(ssf::kavcr_done.flag)] = 0;
    unload(table);
}

// 0, or 14. The caller holds initLock.
std::int32_t loadCryptoLibrary(const char* named) {
    LibraryState& state = libraryState();
    const ThrRecMtxGuard lock(state.cryptoLock);
    SsfFunctionTable& table = state.cryptoTable;
    const CryptoLibrary library = chooseCryptoLibrary(named);
    if (table.loaded != 0) {
        unload(table);  // left behind by a start that failed later
    }
    table = SsfFunctionTable{};
    KavSecuSetLibraryName(library.name.c_str());
    const std::int32_t code = SsfLoadFunctions(library.handle, library.name.c_str(), table);
    if (code != kSsfSupOk && code != kSsfSupNotAllFunctions) {
        giveBack(table, library.handle);
        TRACE_ERROR("SsfInit error %s, couldn't load library %s.", SsfSupRcName(code), library.name.c_str());
        return VORAK_CRYPTO_FAILED;
    }
    if (table.libraryHandle == kDlNoHandle) {
        table.libraryHandle = library.handle;
    }
    if (!JwtStarted()) {
        if (const std::int32_t jwtCode = JwtInitialize(&table); jwtCode != 0) {
            TRACE_ERROR("JwtInitialize error %d", jwtCode);
            return VORAK_CRYPTO_FAILED;
        }
    }
    return VORAK_OK;
}

void writeCryptoLibraryVersion() {
    LibraryState& state = libraryState();
    const ThrRecMtxGuard lock(state.cryptoLock);
    char* text = nullptr;
    std::int32_t length = 0;
    if (SsfGetVersionText(state.cryptoTable, &text, &length) == 0 && text != nullptr && length > 0) {
        TRACE(0, "    Initializing SSF Library Version \n");
        TRACE(0, "    %*.*s \n", length, length, text);
    }
    const std::unique_ptr<char[]> owner(text);
}

void takeFromEnvironment(const char* name) {
    if (const char* value = environmentValue(name)) {
        TRACE(3, "Set %s from environment\n", name);
        QuorvantiSetProperty(name, std::string(value).c_str());
    }
}

std::int32_t initialize(const char* cryptoLibrary) {
    const StartInProgress start;
    TRACE(3, "VorakInitialize was called.\n");
    if (ensureFrame() != kThrOk) {
        return VORAK_INVALID;
    }
    LibraryState& state = libraryState();
    std::int32_t code = VORAK_OK;
    {
        ThrCSCreate(state.initLock);
        const ThrCSGuard lock(state.initLock);
        if (state.initialized == 0) {
            writeBanner();
            code = loadCryptoLibrary(cryptoLibrary);
            if (code == VORAK_OK) {
                writeCryptoLibraryVersion();
                state.initialized = 1;
                takeFromEnvironment("SSF_HASH");
                takeFromEnvironment("SSF_INCLUDE_CERT");
            }
        }
    }
    TRACE(3, "Leave function VorakInitialize with rc = %d.\n", code);
    return code;
}

void shutDown() {
    LibraryState& state = libraryState();
    const ThrRecMtxGuard lock(state.cryptoLock);
    if (traceState().stream.load() != nullptr) {
        QuorvantiSetProperty("KAV_EXT_TRC", nullptr);
    }
    releaseTicketKey(state.ticketKey);
    if (state.initialized == 0) {
        return;
    }
    JwtRelease();
    if (state.cryptoTable.loaded != 0) {
        unload(state.cryptoTable);
    }
    if (state.cryptoTable.loaded == 0) {
        state.initialized = 0;
    }
}

}  // namespace
}  // namespace quorvanti

using namespace quorvanti;

extern "C" {

QUORVANTI_API int32_t VorakInitialize(const char* cryptoLibrary) {
    return guarded([&] { return initialize(cryptoLibrary); });
}

QUORVANTI_API int32_t VorakShutdown(void) {
    guarded([] {
        shutDown();
        return VORAK_OK;
    });
    return VORAK_OK;
}

QUORVANTI_API int32_t VorakGetVersion(void) {
    return kInterfaceVersion;
}

}  // extern "C"

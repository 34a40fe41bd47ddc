#include "sec/voraksso/state.h"

#include "base/dptrc/dptrace.h"

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

ThrRecMtx& startLock() {
    static ThrRecMtx lock;
    return lock;
}

}  // namespace

LibraryState::LibraryState() {
    ThrRecMtxInit(cryptoLock, "QUORVANTI_SSF");
}

LibraryState& libraryState() {
    static LibraryState state;
    return state;
}

StartGuard::StartGuard() {
    ThrRecMtxLock(startLock());
}
StartGuard::~StartGuard() {
    ThrRecMtxUnlock(startLock());
}

std::int32_t ensureFrame() {
    LibraryState& state = libraryState();
    if (state.frameReady != 0) {
        return kThrOk;
    }
    const StartGuard guard;
    if (state.frameReady != 0) {
        return kThrOk;
    }
    ThrStartsFromWithin();
    if (const std::int32_t code = ThrInitialize(); code != kThrOk) {
        TRACE(2, "Thread Library could not be initialized.\n");
        return code;
    }
    state.threadsAvailable = 1;
    ThrCSCreate(state.initLock);
    ThrCSCreate(state.conversionLock);
    ThrCSCreate(state.propertyLock);
    state.frameReady = 1;
    return kThrOk;
}

bool requireInitialized() {
    if (libraryState().initialized != 0) {
        return true;
    }
    TRACE_ERROR("VorakInitialize must be called first.");
    return false;
}

}  // namespace quorvanti

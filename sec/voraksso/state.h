// The one process-wide state of the engine. The trace's part of it lives with the trace (base/dptrc/dptrace.h).
#pragma once

#include "krn/thr/thr.h"
#include "sec/kavsecu/function_table.h"
#include "sec/voraksso/ticket_key.h"

#include <atomic>
#include <cstdint>

namespace quorvanti {

inline constexpr std::int32_t kInterfaceVersion = 15;

struct LibraryState {
    LibraryState();

    // Owner: initialize.cpp, under initLock and cryptoLock.
    std::atomic<std::uint8_t> initialized{0};
    // Owner: state.cpp, set once and never undone.
    std::atomic<std::uint8_t> frameReady{0};
    std::atomic<std::uint8_t> threadsAvailable{0};

    // Owner: properties.cpp, under propertyLock. Widths include the terminator.
    char ownSysId[9] = "SYS";
    char ownClient[4] = "000";
    char extSysId[9] = "EXT";
    char extClient[4] = "999";
    char ticketCodePage[5] = "1100";
    char hashAlgorithm[20] = "SHA1";
    char includeCertificate[2] = "0";

    // Owner: initialize.cpp fills and empties it, all others call through it, under cryptoLock.
    SsfFunctionTable cryptoTable{};
    // Owner: ticket_key.cpp, under cryptoLock.
    TicketKeyCache ticketKey;

    // The crypto lock is there from the start: VorakShutdown takes it also before anything else was called.
    // Order: initLock, cryptoLock, propertyLock, the trace's lock; conversionLock is never held with cryptoLock.
    ThrRecMtx cryptoLock;
    ThrCS initLock;
    ThrCS conversionLock;
    ThrCS propertyLock;
};

LibraryState& libraryState();

// Starts the thread layer and makes the locks, once: 0, or the layer's code.
std::int32_t ensureFrame();

// Serialises what happens before the locks above exist.
class StartGuard {
public:
    StartGuard();
    ~StartGuard();
    StartGuard(const StartGuard&) = delete;
    StartGuard& operator=(const StartGuard&) = delete;
};

// True when VorakInitialize has succeeded; otherwise says so in the trace.
bool requireInitialized();

}  // namespace quorvanti

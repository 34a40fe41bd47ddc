// Any text as a ticket, behind a crypto library that accepts every signature, so that what comes after the signature is
// reached too. Held to: only documented codes, no output without success, nothing written outside a buffer.
#include "tests/sec/voraksso/engine_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

namespace {

using namespace quorvanti::test;

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

const FixedClock& startedEngine() {
    static const FixedClock clock;
    static CryptoDouble* crypto = new CryptoDouble;
    static const bool started = VorakInitialize(crypto->path().c_str()) == VORAK_OK;
    require(started, "the library starts");
    return clock;
}

}  // namespace

// The first byte chooses: bit 0 the rest is the decoded ticket, not its text; bit 1 assertion mode; bits 2 and 3 the
// code page of the result; the upper half the size of the buffers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    startedEngine();
    if (size == 0) {
        return 0;
    }
    const std::uint8_t choice = data[0];
    const Bytes rest(data + 1, data + size);
    const std::string text = (choice & 1) != 0 ? base64(rest) : std::string(rest.begin(), rest.end());
    FullRecord record(std::uint32_t{choice} >> 4U << 5U);
    static constexpr const char* kCodePages[] = {"1100", "4110", "4103", "9999"};
    std::memcpy(record.info.code_page, kCodePages[choice >> 2 & 3], 4);

    const std::int32_t code = (choice & 2) != 0
                                  ? VorakEvalAssertionTicket(text.c_str(), nullptr, nullptr, "SYS", "000", &record.info)
                                  : VorakEvalTicket(text.data(), static_cast<std::uint32_t>(text.size()), &record.info);

    static const std::set<std::int32_t> kCodes{
        VORAK_OK,      VORAK_BUFFER_TOO_SMALL, VORAK_TICKET_EXPIRED, VORAK_MALFORMED, VORAK_USER_BUFFER_TOO_SMALL,
        VORAK_INVALID, VORAK_NOT_FOR_US,       VORAK_NOT_BASE64};
    require(kCodes.contains(code), "the code is documented");
    require(record.buffersIntact(), "nothing is written outside a buffer");
    if (code == VORAK_OK) {
        require(record.validity >= 0, "a valid ticket has no negative time left");
        require((choice & 2) == 0 || record.info.assertion_marker == 1, "an assertion ticket names its recipient");
    } else if (code != VORAK_BUFFER_TOO_SMALL && code != VORAK_USER_BUFFER_TOO_SMALL) {
        require(record.cleared(), "a failure hands nothing out");
    }
    return 0;
}

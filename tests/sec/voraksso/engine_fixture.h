// The engine over the crypto double: started, at a time that the test sets, with every signature accepted unless the
// test scripts something else.
#pragma once

#include <quorvanti/voraksso.h>

#include "tests/support/crypto_double/crypto_double.h"
#include "tests/support/environment.h"
#include "tests/support/issuer/ticket_builder.h"
#include "tests/support/trace_capture.h"

#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <string>
#include <vector>

namespace quorvanti::test {

// 2026-03-15 09:05:00 UTC.
inline constexpr std::time_t kNow = 1773565500;

// Sets the engine's clock; the destructor gives it back to the system.
class FixedClock {
public:
    explicit FixedClock(std::time_t seconds = kNow);
    ~FixedClock();
    FixedClock(const FixedClock&) = delete;
    FixedClock& operator=(const FixedClock&) = delete;
    static void set(std::time_t seconds);
};

// A text buffer between canaries.
class TextBuffer {
public:
    explicit TextBuffer(std::uint32_t size) : capacity(size), size_(size), memory_(size + 16, '\x7E') {}
    char* data() { return memory_.data() + 8; }
    // What was handed out, without its terminator.
    std::string text() { return {data(), capacity}; }
    bool terminated() { return capacity < size_ && data()[capacity] == '\0'; }
    bool empty() { return capacity == 0 && (size_ == 0 || data()[0] == '\0'); }
    bool intact() const;

    std::uint32_t capacity;

private:
    std::uint32_t size_;
    std::string memory_;
};

// A record with a buffer for everything.
struct FullRecord {
    explicit FullRecord(std::uint32_t textSize = 64);
    FullRecord(const FullRecord&) = delete;
    FullRecord& operator=(const FullRecord&) = delete;

    TextBuffer systemId, user, client, language, portalUser, authScheme;
    std::array<std::uint8_t, 64> certificate{};
    std::uint32_t certificateCapacity = 64;
    std::int64_t creationTime = -1;
    std::int32_t validity = -1;
    TICKET_INFO info{};

    bool buffersIntact() const;
    // Every text, length and number is empty.
    bool cleared();
};

class EngineTest : public ::testing::Test {
protected:
    explicit EngineTest(const char* cryptoDouble = "double_full") : crypto(cryptoDouble) {}
    void SetUp() override;
    void TearDown() override;

    // The text of a ticket that says this, with a signature that the double accepts.
    static std::string ticket(const TicketBuilder& builder);
    static TicketBuilder logon() { return TicketBuilder::logon(kNow); }
    std::int32_t evaluate(const std::string& text, TICKET_INFO& info) const;

    FixedClock clock;
    CryptoDouble crypto;
};

bool hasLine(const TraceCapture& trace, const std::string& line);
// The lines that carry an error or warning.
std::vector<std::string> errorLines(const TraceCapture& trace);

}  // namespace quorvanti::test

#include "tests/sec/voraksso/engine_fixture.h"

#include "krn/time/clock.h"

#include <algorithm>
#include <atomic>

namespace quorvanti::test {
namespace {

std::atomic<std::int64_t> fixedMilliseconds{0};

}  // namespace

FixedClock::FixedClock(std::time_t seconds) {
    set(seconds);
    setClockSource([]() -> std::int64_t { return fixedMilliseconds; });
}
FixedClock::~FixedClock() {
    setClockSource(nullptr);
}
void FixedClock::set(std::time_t seconds) {
    fixedMilliseconds = std::int64_t{seconds} * 1000;
}

bool TextBuffer::intact() const {
    const std::string canary(8, '\x7E');
    return memory_.substr(0, 8) == canary && memory_.substr(memory_.size() - 8) == canary;
}

FullRecord::FullRecord(std::uint32_t textSize)
    : systemId(textSize),
      user(textSize),
      client(textSize),
      language(textSize),
      portalUser(textSize),
      authScheme(textSize) {
    info.struct_size = sizeof info;
    info.system_id = systemId.data();
    info.system_id_capacity = &systemId.capacity;
    info.user = user.data();
    info.user_capacity = &user.capacity;
    info.client = client.data();
    info.client_capacity = &client.capacity;
    info.language = language.data();
    info.language_capacity = &language.capacity;
    info.creation_time = &creationTime;
    info.validity = &validity;
    info.portal_user = portalUser.data();
    info.portal_user_capacity = &portalUser.capacity;
    info.auth_scheme = authScheme.data();
    info.auth_scheme_capacity = &authScheme.capacity;
    info.certificate = certificate.data();
    info.certificate_capacity = &certificateCapacity;
    info.flags = 77;
    info.assertion_marker = 77;
}

bool FullRecord::buffersIntact() const {
    return systemId.intact() && user.intact() && client.intact() && language.intact() && portalUser.intact() &&
           authScheme.intact();
}

bool FullRecord::cleared() {
    return systemId.empty() && user.empty() && client.empty() && language.empty() && portalUser.empty() &&
           authScheme.empty() && certificateCapacity == 0 && creationTime == 0 && validity == 0 && info.flags == 0 &&
           info.assertion_marker == -1;
}

void EngineTest::SetUp() {
    ASSERT_EQ(VorakInitialize(crypto.path().c_str()), 0);
}

void EngineTest::TearDown() {
    VorakShutdown();
    EXPECT_TRUE(crypto->outstanding.empty()) << "not given back to the crypto library";
    EXPECT_EQ(crypto->foreignReleases, 0);
}

std::string EngineTest::ticket(const TicketBuilder& builder) {
    return ticketText(builder.signedBytes(), bytesOf("signature"));
}

std::int32_t EngineTest::evaluate(const std::string& text, TICKET_INFO& info) const {
    return VorakEvalLogonTicketEx(text.c_str(), "store.pse", "secret", nullptr, nullptr, &info);
}

bool hasLine(const TraceCapture& trace, const std::string& line) {
    const std::vector<std::string> lines = trace.lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

std::vector<std::string> errorLines(const TraceCapture& trace) {
    std::vector<std::string> lines = trace.lines();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("*** "); });
    return lines;
}

}  // namespace quorvanti::test

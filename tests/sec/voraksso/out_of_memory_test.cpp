#include "sec/voraksso/signature.h"
#include "tests/sec/voraksso/engine_fixture.h"
#include "tests/support/allocation_failure.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class OutOfMemory : public EngineTest {
protected:
    // The double's own book-keeping needs memory too, so it is wrong afterwards; leaks are the sanitizer's to find
    // here.
    void TearDown() override {
        VorakShutdown();
        crypto->outstanding.clear();
        crypto->foreignReleases = 0;
    }
    // Lets one allocation after another fail until the call needs no more of them; `call` checks what it answers.
    static int failEachAllocation(const std::function<bool()>& call) {
        constexpr int kLimit = 500;
        int allowed = 0;
        while (allowed < kLimit && !call()) {
            ++allowed;
        }
        EXPECT_LT(allowed, kLimit) << "the call succeeds when nothing fails";
        return allowed;
    }
};

TEST_F(OutOfMemory, AnEvaluationThatRunsOutOfMemoryEndsWithACodeAndHandsNothingOut) {
    crypto->signers[0].certificate = std::string(SignerCertificate::kRoom + 1, 'c');
    TicketBuilder many = logon();  // more units than a list has room for
    for (int count = 0; count < 20; ++count) {
        many.unit(0x40, "unit");
    }
    const std::string text = ticket(many);
    FullRecord warmUp;
    warmUp.info.certificate = nullptr;
    ASSERT_EQ(evaluate(text, warmUp.info), VORAK_OK);
    const TraceCapture trace(1);
    int allowed = 0;
    bool exhausted = false;
    const int needed = failEachAllocation([&] {
        FullRecord record;
        record.info.certificate = nullptr;
        record.certificateCapacity = 0;
        std::int32_t code = 0;
        {
            const AllocationFailure failure(allowed++);
            code = evaluate(text, record.info);
        }
        EXPECT_TRUE(code == VORAK_OK || record.cleared()) << code;
        exhausted = exhausted || code == VORAK_NO_MEMORY;
        return code == VORAK_OK;
    });
    EXPECT_GT(needed, 5) << "every node beyond the list's own room is an allocation";
    EXPECT_TRUE(exhausted);
    EXPECT_TRUE(trace.contains("*** ERROR => ParseTicket: Invalid content [sec/voraksso/ssoxxapi "));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => No memory available for certificate. [ssoxxsgn]"));
}

TEST_F(OutOfMemory, ACreationThatRunsOutOfMemoryHandsOutNoTicket) {
    const std::string three = "SYS", client = "000", user = "JDOE", portal = "john", scheme = "basic", language = "E";
    const auto three32 = std::uint32_t{3}, four = std::uint32_t{4}, five = std::uint32_t{5}, one = std::uint32_t{1};
    AssertionContent content{};
    content.structSize = sizeof content;
    std::memcpy(content.codePage, "1100", 4);
    content.recipientSysId = three.data();
    content.recipientSysIdLength = &three32;
    content.recipientClient = client.data();
    content.recipientClientLength = &three32;
    content.user = user.data();
    content.userLength = &four;
    content.language = language.data();
    content.languageLength = &one;
    content.portalUser = portal.data();
    content.portalUserLength = &four;
    content.authScheme = scheme.data();
    content.authSchemeLength = &five;
    const auto create = [&](std::string& text, std::uint32_t& length) {
        return VorakCreateAssertionTicket("PRT", "100", "p", nullptr, &content, text.data(), &length);
    };
    std::string text(4096, '\0');
    std::uint32_t length = 4096;
    ASSERT_EQ(create(text, length), VORAK_OK);

    const TraceCapture trace(1);
    int allowed = 0;
    std::ptrdiff_t failures = 0;
    failEachAllocation([&] {
        std::fill(text.begin(), text.end(), '\0');
        length = 4096;
        std::int32_t code = 0;
        {
            const AllocationFailure failure(allowed++);
            code = create(text, length);
        }
        EXPECT_TRUE(code == VORAK_OK || text[0] == '\0') << code;
        failures += code == VORAK_OK ? 0 : 1;
        return code == VORAK_OK;
    });
    const std::vector<std::string> lines = trace.lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) {
                                return line.starts_with("*** ERROR => VorakCreateAssertionTicket returns ");
                            }),
              failures);
    for (const char* line :
         {"Error in HMskiContentNew (Client)", "Error in HMskiContentNew (SYSID)", "Couldn't create content (lifetime)",
          "Couldn't create content (flags)", "Couldn't create content (recipient client)",
          "Couldn't create content (recipient sysid)", "Couldn't create content for KAV user",
          "Couldn't create content for KAV language", "Couldn't create content for Portal user",
          "Couldn't create content for Portal authentication schema"}) {
        EXPECT_TRUE(hasLine(trace, std::string("*** ERROR => ") + line + " [ssoxxext]")) << line;
    }
}

TEST_F(OutOfMemory, AStartThatRunsOutOfMemoryCanBeTriedAgainAndOpensItsTraceThen) {
    VorakShutdown();
    const TemporaryDirectory directory;
    const std::string file = directory.file("a-trace-file-with-a-name-that-needs-memory-of-its-own");
    const EnvironmentVariable target("KAV_EXT_TRC", file.c_str());
    const std::string library = crypto.path();
    int allowed = 0;
    bool exhausted = false;
    failEachAllocation([&] {
        std::int32_t code = 0;
        {
            const AllocationFailure failure(allowed++);
            code = VorakInitialize(library.c_str());
        }
        exhausted = exhausted || code == VORAK_NO_MEMORY;
        EXPECT_EQ(VorakInitialize(library.c_str()), VORAK_OK) << "after " << code;
        EXPECT_EQ(QuorvantiGetProperty("KAV_EXT_TRC"), file) << "after " << code;
        EXPECT_TRUE(readFile(file).find("Initializing QUORVANTI Version") != std::string::npos) << "after " << code;
        VorakShutdown();
        return code == VORAK_OK;
    });
    EXPECT_TRUE(exhausted);
}

TEST_F(OutOfMemory, ARefusalStaysOneWhenThereIsNoMemoryToTraceIt) {
    static std::string longText(100, 'n');
    static std::uint8_t encoded[] = {1};
    static SsfSigRcpSsfInfo signer{};
    static SsfSigRcpSsfInfoList signers{&signer};
    signer.id = longText.data();
    signer.idLength = static_cast<std::int32_t>(longText.size());
    signer.result = 22;
    crypto->hooks.SsfEncode = [](auto, auto, auto, auto, std::uint8_t** data, std::int32_t* length) -> std::int32_t {
        *data = encoded;
        *length = sizeof encoded;
        return 0;
    };
    crypto->hooks.SsfVerify = [](auto, auto, auto, auto, auto, auto, auto, auto, auto, auto, auto,
                                 SsfSigRcpSsfInfoList** list, auto, auto) -> std::int32_t {
        *list = &signers;
        return 5;
    };
    const std::string text = ticket(logon());
    const TraceCapture trace(2);
    FullRecord record;
    std::int32_t code = 0;
    {
        const AllocationFailure failure;
        code = evaluate(text, record.info);
    }
    EXPECT_EQ(code, 22 << 16 | 5);
    EXPECT_TRUE(hasLine(trace, " Signer   ID: " + longText + " "));
}

TEST_F(OutOfMemory, AHandleThatRunsOutOfMemorySaysSo) {
    const std::string text = ticket(logon());
    TICKET* handle = new_TICKET(1);
    ASSERT_NE(handle, nullptr);
    int allowed = 0;
    bool exhausted = false;
    failEachAllocation([&] {
        bool set = false;
        {
            const AllocationFailure failure(allowed++);
            set = TcktSetTicket(handle, text.c_str()) == 1;
        }
        exhausted = exhausted || TcktGetLastError(handle) == 11;
        return set;
    });
    EXPECT_TRUE(exhausted);
    release_TICKET(&handle);
    const AllocationFailure failure;
    EXPECT_EQ(new_TICKET(1), nullptr);
}

}  // namespace
}  // namespace quorvanti

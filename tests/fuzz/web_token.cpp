// Any token leaves the caller's record consistent. The crypto library is replaced by functions that take every RSA
// signature for good, so that payloads are reached. The first byte says what follows: 'T' the text of a token, anything
// else its header, payload and name-id claim, one a line.
#include "krn/dl/dl.h"
#include "sec/jwt/jwt_engine.h"
#include "tests/sec/jwt/token_maker.h"

#include <cstdlib>

namespace {

std::int32_t acceptAll(const char*, std::int32_t, const std::uint8_t*, std::int32_t, const char*, std::int32_t,
                       const char*, std::int32_t, const std::uint8_t*, std::int32_t, const char*, std::int32_t,
                       const std::uint8_t*, std::int32_t, SsfSigRcpSsfInfoList**, std::uint8_t**, std::int32_t*) {
    return 0;
}

std::int32_t releaseNothing(void*, std::int32_t*) {
    return 0;
}

quorvanti::SsfFunctionTable acceptingTable() {
    using namespace quorvanti;
    SsfFunctionTable table{
        .entryPoints = {}, .loaded = 1, .available = {}, .fipsMode = 0, .libraryHandle = kDlNoHandle};
    const auto set = [&table](const auto& entry, auto function) {
        table.entryPoints[static_cast<std::size_t>(entry.slot)] = reinterpret_cast<SsfAnyFunction>(function);
        table.available[static_cast<std::size_t>(entry.flag)] = 1;
    };
    set(ssf::SsfVerifyEx, &acceptAll);
    set(ssf::SsfDELSsfOctetstring, &releaseNothing);
    return table;
}

std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() < text.size() ? line.size() + 1 : text.size());
    return line;
}

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvanti;
    static SsfFunctionTable table = acceptingTable();
    static const bool started = JwtInitialize(&table) == 0;
    require(started);
    const test::FrozenClock clock(1'700'000'000);

    std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string token(text.substr(text.empty() ? 0 : 1));
    std::string_view nameIdClaim;
    if (!text.starts_with('T')) {
        const std::string_view header = takeLine(text);
        token = test::makeToken(header, takeLine(text));
        nameIdClaim = text;
    }
    test::Evaluation evaluation(256);
    const std::int32_t code = evaluation.run(token, "key", nameIdClaim);
    require((code == 0) == (evaluation.result.errorText[0] == '\0'));
    if (code == 0) {
        require(evaluation.result.payloadLength <= evaluation.buffer.size());
        const JwtResult& result = evaluation.result;
        require(evaluation.inPayload(result.nameId, result.nameIdLength));
        require(evaluation.inPayload(result.subject, result.subjectLength));
        require(evaluation.inPayload(result.issuer, result.issuerLength));
        require(evaluation.inPayload(result.jsonId, result.jsonIdLength));
        require(evaluation.inPayload(result.audience, result.audienceLength));
    }
    return 0;
}

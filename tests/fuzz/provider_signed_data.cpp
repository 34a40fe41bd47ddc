// SsfVerify with a fixed key store and a fixed content: whatever the signature's bytes, nothing is accepted that does
// not hold the signature value the issuing system made, and what is accepted names it as the signer.
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "providers/openssl/clock.h"
#include "providers/openssl/key_store.h"
#include "quorvanti/ssf.h"
#include "tests/fuzz/provider_signed_data_fixture.h"

namespace {

using namespace quorvanti::fuzz;

constexpr std::string_view storeName = "trusted";

std::int32_t prepare() {
    quorvanti::provider::setClock([] { return std::int64_t{1800000000}; });
    return quorvanti::provider::registerMemoryKeyStore(
        storeName, std::span(reinterpret_cast<const std::uint8_t*>(trustedPem.data()), trustedPem.size()));
}

bool holdsKnownSignature(std::span<const std::uint8_t> input) {
    return std::ranges::any_of(signatureValues, [&](std::string_view value) {
        return std::search(input.begin(), input.end(), value.begin(), value.end(), [](std::uint8_t left, char right) {
                   return left == static_cast<std::uint8_t>(right);
               }) != input.end();
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::int32_t prepared = prepare();
    if (prepared != SSF_API_OK)
        std::abort();
    SsfSigRcpSsfInfoList* signers = nullptr;
    std::uint8_t* output = nullptr;
    std::int32_t outputLength = 0;
    const std::uint8_t none = 0;
    const std::int32_t code = SsfVerify(
        "PKCS7", 5, 1, data != nullptr ? data : &none, static_cast<std::int32_t>(size),
        reinterpret_cast<const std::uint8_t*>(content.data()), static_cast<std::int32_t>(content.size()),
        storeName.data(), static_cast<std::int32_t>(storeName.size()), nullptr, 0, &signers, &output, &outputLength);
    if (code == SSF_API_OK &&
        (signers == nullptr || signers->first == nullptr || signers->first->result != 0 ||
         std::string_view(signers->first->id) != "CN=issuing system" || !holdsKnownSignature({data, size})))
        std::abort();
    if (code != SSF_API_OK && signers != nullptr && signers->first->result == SSF_API_OK)
        std::abort();
    SsfDELSigRcpSsfInfoList(&signers);
    return 0;
}

#include "providers/openssl/hand_out.h"

#include <openssl/crypto.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "providers/openssl/boundary.h"

namespace quorvanti::provider {
namespace {

// Stands before the bytes, so that the whole block can be wiped whatever length the caller has kept.
struct alignas(std::max_align_t) Header {
    std::size_t blockSize;
};

std::uint8_t* copyOf(const void* data, std::size_t length) {
    if (length > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        return nullptr;
    const std::size_t blockSize = sizeof(Header) + length + 1;
    void* block = std::malloc(blockSize);
    if (block == nullptr)
        return nullptr;
    new (block) Header{blockSize};
    std::uint8_t* copy = static_cast<std::uint8_t*>(block) + sizeof(Header);
    if (length > 0)
        std::memcpy(copy, data, length);
    copy[length] = 0;
    return copy;
}

}  // namespace

bool handOut(std::span<const std::uint8_t> bytes, std::uint8_t** out, std::int32_t* outLength) noexcept {
    *out = copyOf(bytes.data(), bytes.size());
    *outLength = *out != nullptr ? static_cast<std::int32_t>(bytes.size()) : 0;
    return *out != nullptr;
}

bool handOut(std::string_view text, char** out, std::int32_t* outLength) noexcept {
    *out = reinterpret_cast<char*>(copyOf(text.data(), text.size()));
    *outLength = *out != nullptr ? static_cast<std::int32_t>(text.size()) : 0;
    return *out != nullptr;
}

void takeBack(void* memory) noexcept {
    if (memory == nullptr)
        return;
    void* block = static_cast<std::uint8_t*>(memory) - sizeof(Header);
    OPENSSL_cleanse(block, static_cast<Header*>(block)->blockSize);
    std::free(block);
}

}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t SsfDELSsfOctetstring(void* dataAddress, int32_t* length) {
    if (dataAddress == nullptr || length == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    // The address of a pointer of any type: copied, not cast.
    void* data = nullptr;
    std::memcpy(&data, dataAddress, sizeof data);
    takeBack(data);
    data = nullptr;
    std::memcpy(dataAddress, &data, sizeof data);
    *length = 0;
    return SSF_API_OK;
}

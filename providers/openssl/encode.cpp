// The content encoding of the format: PKCS#7 signs the content as it is.
#include "providers/openssl/boundary.h"
#include "providers/openssl/format.h"
#include "providers/openssl/hand_out.h"

using namespace quorvanti::provider;

int32_t SsfEncode(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength, uint8_t** encoded,
                  int32_t* encodedLength) {
    if (encoded != nullptr)
        *encoded = nullptr;
    if (encodedLength != nullptr)
        *encodedLength = 0;
    if (encoded == nullptr || encodedLength == nullptr || format == nullptr || formatLength < 0 || data == nullptr ||
        dataLength < 0)
        return invalidArguments("SsfEncode");
    if (!isPkcs7(textOf(format, formatLength)))
        return fail(SSF_API_INVALID_FORMAT, "SsfEncode knows the format PKCS7 only.");
    if (dataLength == 0)
        return fail(SSF_API_NODATA, "SsfEncode was given no data.");
    if (!handOut(bytesOf(data, dataLength), encoded, encodedLength))
        return fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    return SSF_API_OK;
}

// Signer entries and lists of them. An entry owns its texts: they go with it and not by themselves.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "quorvanti/ssf.h"

namespace quorvanti::provider {

// A list with one entry, as verification and signing hand it out. Null when memory runs out.
SsfSigRcpSsfInfoList* makeSignerList(std::string_view id, std::string_view info, std::int32_t result,
                                     std::span<const std::uint8_t> certificateDer);

// Replaces what an entry says about itself. False when memory runs out; result is set all the same.
bool describeSigner(SsfSigRcpSsfInfo& entry, std::string_view info, std::int32_t result,
                    std::span<const std::uint8_t> certificateDer);

}  // namespace quorvanti::provider

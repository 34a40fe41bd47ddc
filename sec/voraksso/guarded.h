// The edge of the library: no exception leaves an exported function, and memory that runs out becomes its code.
#pragma once

#include <quorvanti/voraksso.h>

#include <cstdint>
#include <exception>

namespace quorvanti {

template <typename Body>
std::int32_t guarded(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::exception&) {
        return VORAK_NO_MEMORY;  // nothing in here throws but the allocator and the locks
    }
}

}  // namespace quorvanti

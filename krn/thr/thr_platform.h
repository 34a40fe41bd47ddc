// What the thread layer asks of the operating system.
#pragma once

#include "krn/thr/thr.h"

#include <cstdint>

namespace quorvanti {

using ThrHandle = std::uintptr_t;

// A handle of the calling thread that stays valid in other threads.
bool threadHandleDuplicate(ThrHandle& handle);
void threadHandleClose(ThrHandle handle);

bool threadKeyAllocate(ThrKey& key, ThrKeyDestructor destructor);
void threadKeyFree(ThrKey key);

// Replaces threadHandleDuplicate; null restores it. For tests of a layer that cannot start.
using ThrHandleSource = bool (*)(ThrHandle& handle);
void setThrHandleSource(ThrHandleSource source);

}  // namespace quorvanti

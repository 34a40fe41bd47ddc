#include "krn/env/environment.h"

#include "krn/env/environment_platform.h"
#include "krn/thr/static_lock.h"

#include <cstdlib>
#include <mutex>

namespace quorvanti {
namespace {

constinit StaticLock environmentLock;

}  // namespace

const char* environmentValue(const char* name) {
    const std::scoped_lock lock(environmentLock);
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

bool setEnvironmentValue(const char* name, const char* value) {
    const std::scoped_lock lock(environmentLock);
    return putIntoEnvironment(name, value);
}

}  // namespace quorvanti

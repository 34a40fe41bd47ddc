#include "krn/env/environment_platform.h"

#include "krn/env/environment.h"

#include <stdlib.h>
#include <string.h>

namespace quorvanti {

bool putIntoEnvironment(const char* name, const char* value) {
    return setenv(name, value, 1) == 0;
}

// There is but one copy.
std::string_view systemVariable(const char* name, std::span<char> room) {
    const char* value = environmentValue(name);
    const std::size_t length = value != nullptr ? strlen(value) : 0;
    if (length == 0 || length >= room.size()) {
        return {};
    }
    memcpy(room.data(), value, length + 1);
    return {room.data(), length};
}

}  // namespace quorvanti

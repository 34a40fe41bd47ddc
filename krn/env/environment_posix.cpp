#include "krn/env/environment_platform.h"

#include <stdlib.h>

namespace quorvanti {

bool putIntoEnvironment(const char* name, const char* value) {
    return setenv(name, value, 1) == 0;
}

}  // namespace quorvanti

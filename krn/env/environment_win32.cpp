#include "krn/env/environment_platform.h"

#include <cstdlib>
#include <string>

namespace quorvanti {

bool putIntoEnvironment(const char* name, const char* value) {
    return _putenv((std::string(name) + "=" + value).c_str()) == 0;
}

}  // namespace quorvanti

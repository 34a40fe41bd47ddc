#include "tests/support/environment.h"

#include <stdlib.h>

namespace quorvanti::test {

void assignVariable(const std::string& name, const char* value) {
    if (value != nullptr) {
        setenv(name.c_str(), value, 1);
    } else {
        unsetenv(name.c_str());
    }
}

}  // namespace quorvanti::test

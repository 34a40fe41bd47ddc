#include "tests/support/environment.h"

#include <stdlib.h>

namespace quorvanti::test {

// This system knows no variable without a value: an empty one removes it.
void assignVariable(const std::string& name, const char* value) {
    _putenv((name + "=" + (value != nullptr ? value : "")).c_str());
}

}  // namespace quorvanti::test

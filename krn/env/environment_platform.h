// What the operating system does for the environment service.
#pragma once

namespace quorvanti {

bool putIntoEnvironment(const char* name, const char* value);

}  // namespace quorvanti

// Shared libraries, opened past the engine's own loader.
#pragma once

#include <string>

namespace quorvanti::test {

// Null when it cannot be opened.
void* openSharedLibrary(const char* path);
// Whether it was held by an earlier opening, and this one let go of it.
bool closeSharedLibrary(void* library);
void (*findInSharedLibrary(void* library, const char* name))();
bool isSharedLibraryLoaded(const char* path);

}  // namespace quorvanti::test

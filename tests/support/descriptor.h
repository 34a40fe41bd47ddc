// Descriptors of open files, as far as tests look below streams.
#pragma once

#include <cstdio>
#include <string>

namespace quorvanti::test {

int descriptorOf(std::FILE* stream);
// Both give -1 when it does not work.
int openForAppending(const std::string& name);
int duplicateDescriptor(int descriptor);
// `descriptor` becomes another name of what `source` is.
bool replaceDescriptor(int source, int descriptor);
void closeDescriptor(int descriptor);

bool isOpen(int descriptor);
bool childProcessesInherit(int descriptor);
// A device that takes nothing; empty when the system has none.
std::string fullDevice();

}  // namespace quorvanti::test

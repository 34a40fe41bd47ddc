// The classes of the library, and what makes objects of them.
#pragma once

#include <windows.h>

#include <span>

namespace quorvanti::com {

using CreateObject = HRESULT (*)(IUnknown* outer, REFIID id, void** object) noexcept;

struct ClassEntry {
    const CLSID* id;
    UINT registryScript;
    CreateObject create;
};
std::span<const ClassEntry> classTable();

HRESULT classObject(const ClassEntry& entry, REFIID id, void** object) noexcept;

}  // namespace quorvanti::com

// A function table that is released at the end of a scope, and a set without a library name.
#pragma once

#include "sec/kavsecu/function_table.h"
#include "sec/kavsecu/kavsecu_set.h"

#include <string>

namespace quorvanti::test {

class LoadedTable {
public:
    LoadedTable() = default;
    ~LoadedTable() {
        release();
        KavSecuSetLibraryName(nullptr);
    }
    LoadedTable(const LoadedTable&) = delete;
    LoadedTable& operator=(const LoadedTable&) = delete;

    std::int32_t load(const std::string& path) {
        table = SsfFunctionTable{};
        return SsfLoadFunctions(kDlNoHandle, path.c_str(), table);
    }
    // As initialization does it: the library is opened first, the table gets its handle afterwards.
    std::int32_t loadFromHandle(const std::string& path) {
        table = SsfFunctionTable{};
        std::int32_t handle = kDlNoHandle;
        DlLoadLib(path.c_str(), handle);
        const std::int32_t result = SsfLoadFunctions(handle, path.c_str(), table);
        handleAfterLoad = table.libraryHandle;
        table.libraryHandle = handle;
        return result;
    }
    void release() { SsfUnloadFunctions(table); }

    SsfFunctionTable table{
        .entryPoints = {}, .loaded = 0, .available = {}, .fipsMode = 0, .libraryHandle = kDlNoHandle};
    std::int32_t handleAfterLoad = kDlNoHandle;
};

inline bool isOpen(std::int32_t handle) {
    DlFunction function = nullptr;
    return DlLoadFunc(handle, "crypto_double_control", function) == kDlOk;
}

}  // namespace quorvanti::test

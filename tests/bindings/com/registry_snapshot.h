// Keys and values of the registry below a key, to be compared.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <map>
#include <string>
#include <vector>

namespace quorvanti::test {

// By path, in lower case; a value by its path and, behind "@", its name. A key has an empty text.
using RegistrySnapshot = std::map<std::wstring, std::wstring>;

inline std::wstring lowerCase(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towlower(c); });
    return text;
}

inline void addKey(RegistrySnapshot& snapshot, HKEY key, const std::wstring& path) {
    wchar_t name[512];
    for (DWORD index = 0;; ++index) {
        DWORD length = 512;
        DWORD type = REG_NONE;
        std::vector<wchar_t> data(8192);
        auto size = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        const LSTATUS status =
            RegEnumValueW(key, index, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size);
        if (status == ERROR_NO_MORE_ITEMS) {
            break;
        }
        data.resize(size / sizeof(wchar_t));
        while (type == REG_SZ && !data.empty() && data.back() == L'\0') {
            data.pop_back();
        }
        snapshot[path + L"@" + lowerCase(name)] = std::wstring(data.begin(), data.end());
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = 512;
        if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
            break;
        }
        const std::wstring below = path + L"\\" + lowerCase(name);
        snapshot[below];
        HKEY opened = nullptr;
        if (RegOpenKeyExW(key, name, 0, KEY_READ, &opened) == ERROR_SUCCESS) {
            addKey(snapshot, opened, below);
            RegCloseKey(opened);
        }
    }
}

inline RegistrySnapshot snapshotOf(HKEY root, const wchar_t* path) {
    RegistrySnapshot snapshot;
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) == ERROR_SUCCESS) {
        addKey(snapshot, key, L"");
        RegCloseKey(key);
    }
    return snapshot;
}

// What is in one and not, or otherwise, in the other.
inline RegistrySnapshot difference(const RegistrySnapshot& one, const RegistrySnapshot& other) {
    RegistrySnapshot different;
    for (const auto& [path, text] : one) {
        const auto found = other.find(path);
        if (found == other.end() || found->second != text) {
            different[path] = text;
        }
    }
    return different;
}

}  // namespace quorvanti::test

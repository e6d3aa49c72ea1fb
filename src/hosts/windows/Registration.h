// Registration of the library's classes: only our own keys (class, ProgID, type library) are
// written and removed. The FDT interfaces declared in our type library belong to the frame's
// installation, so the type library is never registered through RegisterTypeLib, which would
// rewrite (and on removal delete) their interface keys.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace kestrova::win {

// One registry value below HKEY_CLASSES_ROOT: key path, value name (empty for the default
// value) and its text.
struct RegEntry {
    std::wstring Key;
    std::wstring Name;
    std::wstring Value;
};

// Every value the library writes for the module at modulePath, parents before children.
std::vector<RegEntry> RegistrationEntries(const std::wstring& modulePath);
// The key trees the library owns: removing them removes every value above.
std::vector<std::wstring> RegistrationRoots();

HRESULT RegisterServer(const std::wstring& modulePath);
HRESULT UnregisterServer();

std::wstring GuidText(const GUID& guid);

}  // namespace kestrova::win

#include "Registration.h"

#include <olectl.h>

#include "ClassFactory.h"
#include "ComTypes.h"
#include "Kestrova_h.h"

namespace kestrova::win {

namespace {

constexpr wchar_t kLibraryVersion[] = L"1.0";
constexpr wchar_t kLibraryName[] = L"Kestrova IO-Link USB Master DTM GUI";

#ifdef _WIN64
constexpr wchar_t kPlatform[] = L"win64";
#else
constexpr wchar_t kPlatform[] = L"win32";
#endif

std::wstring Folder(const std::wstring& path) {
    const size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash);
}

HRESULT SetValue(const RegEntry& entry) {
    HKEY key = nullptr;
    LONG status = RegCreateKeyExW(HKEY_CLASSES_ROOT, entry.Key.c_str(), 0, nullptr, 0,
                                  KEY_SET_VALUE, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
    status = RegSetValueExW(key, entry.Name.empty() ? nullptr : entry.Name.c_str(), 0, REG_SZ,
                            reinterpret_cast<const BYTE*>(entry.Value.c_str()),
                            static_cast<DWORD>((entry.Value.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
    return HRESULT_FROM_WIN32(status);
}

// The class a ProgID names, or empty text.
std::wstring ClassOfProgId(const std::wstring& progId) {
    wchar_t value[64] = {};
    DWORD size = sizeof value - sizeof(wchar_t);
    if (RegGetValueW(HKEY_CLASSES_ROOT, (progId + L"\\CLSID").c_str(), nullptr, RRF_RT_REG_SZ,
                     nullptr, value, &size) != ERROR_SUCCESS)
        return {};
    return value;
}

}  // namespace

std::wstring GuidText(const GUID& guid) {
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, 40);
    return text;
}

std::vector<RegEntry> RegistrationEntries(const std::wstring& modulePath) {
    const std::wstring libId = GuidText(LIBID_Kestrova);
    std::vector<RegEntry> entries;
    size_t count = 0;
    const ComClass* classes = ComClasses(count);
    for (size_t i = 0; i < count; ++i) {
        const ComClass& c = classes[i];
        const std::wstring clsKey = L"CLSID\\" + GuidText(*c.Clsid);
        const std::wstring progId = Widen(c.ProgId), description = Widen(c.Description);
        entries.push_back({clsKey, L"", description});
        entries.push_back({clsKey + L"\\InprocServer32", L"", modulePath});
        entries.push_back({clsKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"});
        entries.push_back({clsKey + L"\\ProgID", L"", progId});
        entries.push_back({clsKey + L"\\TypeLib", L"", libId});
        entries.push_back({clsKey + L"\\Version", L"", kLibraryVersion});
        if (c.IsControl) entries.push_back({clsKey + L"\\Control", L"", L""});
        entries.push_back({progId, L"", description});
        entries.push_back({progId + L"\\CLSID", L"", GuidText(*c.Clsid)});
    }
    const std::wstring libKey = L"TypeLib\\" + libId + L"\\" + kLibraryVersion;
    entries.push_back({libKey, L"", kLibraryName});
    entries.push_back({libKey + L"\\0\\" + kPlatform, L"", modulePath});
    entries.push_back({libKey + L"\\FLAGS", L"", L"2"});  // LIBFLAG_FCONTROL
    entries.push_back({libKey + L"\\HELPDIR", L"", Folder(modulePath)});
    return entries;
}

std::vector<std::wstring> RegistrationRoots() {
    std::vector<std::wstring> roots;
    size_t count = 0;
    const ComClass* classes = ComClasses(count);
    for (size_t i = 0; i < count; ++i) {
        roots.push_back(L"CLSID\\" + GuidText(*classes[i].Clsid));
        roots.push_back(Widen(classes[i].ProgId));
    }
    roots.push_back(L"TypeLib\\" + GuidText(LIBID_Kestrova));
    return roots;
}

HRESULT RegisterServer(const std::wstring& modulePath) {
    for (const RegEntry& entry : RegistrationEntries(modulePath)) {
        const HRESULT hr = SetValue(entry);
        if (FAILED(hr)) {
            UnregisterServer();
            return SELFREG_E_CLASS;
        }
    }
    return S_OK;
}

HRESULT UnregisterServer() {
    size_t count = 0;
    const ComClass* classes = ComClasses(count);
    for (const std::wstring& root : RegistrationRoots()) {
        // A ProgID that another server took over since is left to that server.
        bool foreign = false;
        for (size_t i = 0; i < count; ++i)
            if (root == Widen(classes[i].ProgId)) {
                const std::wstring owner = ClassOfProgId(root);
                foreign = !owner.empty() &&
                          _wcsicmp(owner.c_str(), GuidText(*classes[i].Clsid).c_str()) != 0;
            }
        if (foreign) continue;
        const LONG status = RegDeleteTreeW(HKEY_CLASSES_ROOT, root.c_str());
        if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) {
            RegDeleteKeyW(HKEY_CLASSES_ROOT, root.c_str());
            continue;
        }
        return SELFREG_E_CLASS;
    }
    return S_OK;
}

}  // namespace kestrova::win

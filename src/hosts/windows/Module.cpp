#include "Module.h"

#include <atomic>
#include <map>
#include <mutex>

#include "Kestrova_h.h"

namespace kestrova::win {

namespace {
std::atomic<long> g_locks{0};
}

HMODULE ThisModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<LPCWSTR>(&ThisModule), &module);
    return module;
}

std::string ModulePath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD n =
            GetModuleFileNameW(ThisModule(), path.data(), static_cast<DWORD>(path.size()));
        if (n == 0) return {};
        if (n < path.size()) {
            path.resize(n);
            return Narrow(path);
        }
        if (path.size() >= 32768) return {};
        path.resize(path.size() * 2);
    }
}

std::string ModuleDirectory() {
    std::string path = ModulePath();
    const size_t slash = path.find_last_of("\\/");
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

void LockModule() {
    ++g_locks;
}

void UnlockModule() {
    --g_locks;
}

bool ModuleInUse() {
    return g_locks.load() > 0;
}

ITypeInfo* TypeInfoOf(REFIID iid) {
    // Loaded once and kept for the life of the process: type information is read-only.
    static std::mutex lock;
    static ComPtr<ITypeLib> library;
    static std::map<GUID, ComPtr<ITypeInfo>, bool (*)(const GUID&, const GUID&)> infos(
        [](const GUID& a, const GUID& b) { return memcmp(&a, &b, sizeof a) < 0; });
    std::lock_guard<std::mutex> guard(lock);
    if (auto it = infos.find(iid); it != infos.end()) return it->second.Get();
    if (!library) {
        const std::wstring path = Widen(ModulePath());
        if (FAILED(LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put()))) return nullptr;
    }
    ComPtr<ITypeInfo> info;
    if (FAILED(library->GetTypeInfoOfGuid(iid, info.Put()))) return nullptr;
    return infos.emplace(iid, info).first->second.Get();
}

}  // namespace kestrova::win

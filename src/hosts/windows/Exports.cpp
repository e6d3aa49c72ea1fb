// The library's exported entry points (Kestrova.def). Each is a thin shell: nothing thrown
// inside crosses into the caller.
#include <windows.h>

#include <olectl.h>

#include "ClassFactory.h"
#include "ComTypes.h"
#include "Module.h"
#include "Registration.h"

using namespace kestrova::win;

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
    return TRUE;
}

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    size_t count = 0;
    const ComClass* classes = ComClasses(count);
    for (size_t i = 0; i < count; ++i)
        if (clsid == *classes[i].Clsid) return GetClassFactory(classes[i], iid, out);
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT STDAPICALLTYPE DllCanUnloadNow() {
    return ModuleInUse() ? S_FALSE : S_OK;
}

HRESULT STDAPICALLTYPE DllRegisterServer() {
    return Guarded([] { return RegisterServer(Widen(ModulePath())); });
}

HRESULT STDAPICALLTYPE DllUnregisterServer() {
    return Guarded([] { return UnregisterServer(); });
}

}  // extern "C"

// The library as a whole: its file, its object count for DllCanUnloadNow and its type library.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>

#include "ComTypes.h"

namespace kestrova::win {

// The module this code lives in (Kestrova.ocx, or the test program that links the same code).
HMODULE ThisModule();
// Its full path and its folder (without a trailing backslash), UTF-8.
std::string ModulePath();
std::string ModuleDirectory();

// Live objects and server locks; the library may unload when there are none.
void LockModule();
void UnlockModule();
bool ModuleInUse();

// Type information of one of our interfaces, loaded once from the embedded type library.
// Null when the library cannot be loaded.
ITypeInfo* TypeInfoOf(REFIID iid);

// Runs fn and turns any escaping exception into E_UNEXPECTED: nothing crosses the COM boundary.
template <class Fn>
HRESULT Guarded(Fn&& fn) noexcept {
    try {
        return fn();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// A plain IDispatch over the type information of the interface I that the object implements.
template <class I>
class DispatchOf : public I {
  public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = TypeInfoOf(__uuidof(I)) ? 1 : 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        ITypeInfo* t = TypeInfoOf(__uuidof(I));
        if (!t) return TYPE_E_CANTLOADLIBRARY;
        t->AddRef();
        *info = t;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) override {
        ITypeInfo* t = TypeInfoOf(__uuidof(I));
        return t ? t->GetIDsOfNames(names, count, ids) : TYPE_E_CANTLOADLIBRARY;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* excep, UINT* argErr) override {
        ITypeInfo* t = TypeInfoOf(__uuidof(I));
        if (!t) return TYPE_E_CANTLOADLIBRARY;
        return t->Invoke(static_cast<I*>(this), id, flags, params, result, excep, argErr);
    }
};

// A further interface of an object, with its own type information; identity and lifetime are
// the owner's.
template <class I>
class PartOf : public DispatchOf<I> {
  public:
    explicit PartOf(IUnknown& owner) : owner_(owner) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return owner_.QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }

  private:
    IUnknown& owner_;
};

}  // namespace kestrova::win

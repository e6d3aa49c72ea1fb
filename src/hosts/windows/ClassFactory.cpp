#include "ClassFactory.h"

#include <atomic>

#include "BusinessObject.h"
#include "DtmGuiObject.h"
#include "Module.h"

namespace kestrova::win {

namespace {

const ComClass kClasses[] = {
    {&CLSID_DTMGUI, DTMGUI::kProgId, "Kestrova DTMGUI", true, &DtmGuiObject::Create},
    {&CLSID_Simulator, "Kestrova.Simulator", "Kestrova simulated IO-Link USB master", false,
     &BusinessObject::CreateSimulator},
};

class ClassFactory final : public IClassFactory {
  public:
    explicit ClassFactory(CreateFn create) : create_(create) { LockModule(); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
        *out = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        return create_(iid, out);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        lock ? LockModule() : UnlockModule();
        return S_OK;
    }

  private:
    ~ClassFactory() { UnlockModule(); }

    std::atomic<ULONG> refs_{1};
    CreateFn create_;
};

}  // namespace

const ComClass* ComClasses(size_t& count) {
    count = std::size(kClasses);
    return kClasses;
}

HRESULT GetClassFactory(const ComClass& cls, REFIID iid, void** out) {
    return Guarded([&] {
        auto* factory = new ClassFactory(cls.Create);
        const HRESULT hr = factory->QueryInterface(iid, out);
        factory->Release();
        return hr;
    });
}

}  // namespace kestrova::win

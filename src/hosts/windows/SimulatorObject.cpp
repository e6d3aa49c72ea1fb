#include "SimulatorObject.h"

#include "ComBridge.h"
#include "tools/Vb.h"

namespace kestrova::win {

namespace {
// Answered only by our own simulator: lets the control in the same process show the simulated
// master in its USB inventory. {1A0C3F5E-7B52-4C55-9F0E-2D6E5B1C8A47}
constexpr GUID kSimulatorSelf = {
    0x1a0c3f5e, 0x7b52, 0x4c55, {0x9f, 0x0e, 0x2d, 0x6e, 0x5b, 0x1c, 0x8a, 0x47}};

// The simulator's failures as the business object's: the error object carries the text.
HRESULT Fail(const std::string& description) {
    ComPtr<ICreateErrorInfo> create;
    if (SUCCEEDED(CreateErrorInfo(create.Put()))) {
        Bstr text(description);
        create->SetDescription(text.Get());
        create->SetGUID(__uuidof(::IGuiBridge));
        if (ComPtr<IErrorInfo> info = create.As<IErrorInfo>()) SetErrorInfo(0, info.Get());
    }
    return E_FAIL;
}
}  // namespace

HRESULT SimulatorObject::Create(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        auto* object = new SimulatorObject();
        const HRESULT hr = object->QueryInterface(iid, out);
        object->Release();
        return hr;
    });
}

SimulatorObject* SimulatorObject::Find(IUnknown* obj) {
    SimulatorObject* self = nullptr;
    if (!obj || FAILED(obj->QueryInterface(kSimulatorSelf, reinterpret_cast<void**>(&self))))
        return nullptr;
    self->Release();
    return self;
}

SimulatorObject::SimulatorObject() {
    sim::Options options;
    options.realtime = true;
    options.language = static_cast<int32_t>(GetUserDefaultLCID());
    sim_ = std::make_unique<sim::Simulator>(options,
                                            [] { return static_cast<int64_t>(GetTickCount64()); });
    LockModule();
}

SimulatorObject::~SimulatorObject() {
    UnlockModule();
}

HRESULT SimulatorObject::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(::IGuiBridge) ||
        iid == kSimulatorSelf)
        *out = static_cast<::IGuiBridge*>(this);
    else if (iid == __uuidof(::IDtm))
        *out = static_cast<::IDtm*>(&dtm_);
    else if (iid == __uuidof(::IGuiReleaseNotify))
        *out = static_cast<::IGuiReleaseNotify*>(&notify_);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG SimulatorObject::AddRef() {
    return ++refs_;
}

ULONG SimulatorObject::Release() {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
}

template <class Fn>
HRESULT SimulatorObject::Run(Fn&& fn) {
    try {
        fn();
        return S_OK;
    } catch (const std::exception& e) {
        return Fail(e.what());
    } catch (...) {
        return E_UNEXPECTED;
    }
}

HRESULT SimulatorObject::RegisterGui(BSTR progId, BSTR invokeId) {
    return Run([&] { sim_->RegisterGui(Bstr::ToUtf8(progId), Bstr::ToUtf8(invokeId)); });
}

HRESULT SimulatorObject::UnregisterGui(BSTR invokeId) {
    return Run([&] { sim_->UnregisterGui(Bstr::ToUtf8(invokeId)); });
}

HRESULT SimulatorObject::CloseGui(BSTR invokeId) {
    return Run([&] { sim_->CloseGui(Bstr::ToUtf8(invokeId)); });
}

HRESULT SimulatorObject::SendCommand(BSTR text, VARIANT* answer) {
    if (!answer) return E_POINTER;
    VariantInit(answer);
    return Run([&] { ToVariant(sim_->SendCommand(Bstr::ToUtf8(text)), answer); });
}

HRESULT SimulatorObject::SetItem(BSTR name, VARIANT value) {
    return Run([&] { sim_->SetItem(Bstr::ToUtf8(name), FromVariant(value)); });
}

HRESULT SimulatorObject::NotifyPart::NotifyGuiReleased() {
    return owner_.Run([&] { owner_.sim_->NotifyGuiReleased(); });
}

}  // namespace kestrova::win

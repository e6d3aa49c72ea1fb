#include "BusinessObject.h"

#include "ComBridge.h"
#include "sim/Simulator.h"
#include "tools/Vb.h"

namespace kestrova::win {

namespace {
// Answered only by our own business objects: lets the control in the same process show the
// simulated master in its USB inventory. {1A0C3F5E-7B52-4C55-9F0E-2D6E5B1C8A47}
constexpr GUID kBusinessSelf = {
    0x1a0c3f5e, 0x7b52, 0x4c55, {0x9f, 0x0e, 0x2d, 0x6e, 0x5b, 0x1c, 0x8a, 0x47}};

// A failure of the bridge as COM reports it: numbered errors as automation components raise
// them (FACILITY_CONTROL), the description in the error object.
HRESULT Fail(int32_t number, const std::string& description) {
    ComPtr<ICreateErrorInfo> create;
    if (SUCCEEDED(CreateErrorInfo(create.Put()))) {
        Bstr text(description);
        create->SetDescription(text.Get());
        create->SetGUID(__uuidof(::IGuiBridge));
        if (ComPtr<IErrorInfo> info = create.As<IErrorInfo>()) SetErrorInfo(0, info.Get());
    }
    if (number > 0 && number <= 0xFFFF)
        return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, number);
    return number < 0 ? static_cast<HRESULT>(number) : E_FAIL;
}
}  // namespace

HRESULT BusinessObject::Create(std::shared_ptr<kestrova::IGuiBridge> bridge, Inventory inventory,
                               REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        auto* object = new BusinessObject(std::move(bridge), std::move(inventory));
        const HRESULT hr = object->QueryInterface(iid, out);
        object->Release();
        return hr;
    });
}

HRESULT BusinessObject::CreateSimulator(REFIID iid, void** out) {
    return Guarded([&] {
        sim::Options options;
        options.realtime = true;
        options.language = static_cast<int32_t>(GetUserDefaultLCID());
        auto sim = std::make_shared<sim::Simulator>(
            options, [] { return static_cast<int64_t>(GetTickCount64()); });
        std::weak_ptr<sim::Simulator> weak = sim;
        Inventory inventory = [weak] {
            auto s = weak.lock();
            return s ? s->Inventory() : std::vector<ui::InventoryRecord>{};
        };
        return Create(std::move(sim), std::move(inventory), iid, out);
    });
}

BusinessObject::Inventory BusinessObject::InventoryOf(IUnknown* obj) {
    BusinessObject* self = nullptr;
    if (!obj || FAILED(obj->QueryInterface(kBusinessSelf, reinterpret_cast<void**>(&self))))
        return {};
    Inventory inventory = self->inventory_;
    self->Release();
    return inventory;
}

BusinessObject::BusinessObject(std::shared_ptr<kestrova::IGuiBridge> bridge, Inventory inventory)
    : bridge_(std::move(bridge)), inventory_(std::move(inventory)) {
    LockModule();
}

BusinessObject::~BusinessObject() {
    UnlockModule();
}

HRESULT BusinessObject::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(::IGuiBridge) ||
        iid == kBusinessSelf)
        *out = static_cast<::IGuiBridge*>(this);
    else if (iid == __uuidof(::IDtm))
        *out = static_cast<::IDtm*>(&dtm_);
    else if (iid == __uuidof(::IGuiReleaseNotify))
        *out = static_cast<::IGuiReleaseNotify*>(&notify_);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG BusinessObject::AddRef() {
    return ++refs_;
}

ULONG BusinessObject::Release() {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
}

template <class Fn>
HRESULT BusinessObject::Run(Fn&& fn) {
    try {
        fn();
        return S_OK;
    } catch (const VbError& e) {
        return Fail(e.Number(), e.Description());
    } catch (const std::exception& e) {
        return Fail(0, e.what());
    } catch (...) {
        return E_UNEXPECTED;
    }
}

HRESULT BusinessObject::RegisterGui(BSTR progId, BSTR invokeId) {
    return Run([&] { bridge_->RegisterGui(Bstr::ToUtf8(progId), Bstr::ToUtf8(invokeId)); });
}

HRESULT BusinessObject::UnregisterGui(BSTR invokeId) {
    return Run([&] { bridge_->UnregisterGui(Bstr::ToUtf8(invokeId)); });
}

HRESULT BusinessObject::CloseGui(BSTR invokeId) {
    return Run([&] { bridge_->CloseGui(Bstr::ToUtf8(invokeId)); });
}

HRESULT BusinessObject::SendCommand(BSTR text, VARIANT* answer) {
    if (!answer) return E_POINTER;
    VariantInit(answer);
    return Run([&] { ToVariant(bridge_->SendCommand(Bstr::ToUtf8(text)), answer); });
}

HRESULT BusinessObject::SetItem(BSTR name, VARIANT value) {
    return Run([&] { bridge_->SetItem(Bstr::ToUtf8(name), FromVariant(value)); });
}

HRESULT BusinessObject::NotifyPart::NotifyGuiReleased() {
    return owner_.Run([&] { owner_.bridge_->NotifyGuiReleased(); });
}

}  // namespace kestrova::win

#include "DtmGuiObject.h"

#include <algorithm>

#include "BusinessObject.h"
#include "ComBridge.h"
#include "ui/Control.h"

namespace kestrova::win {

namespace {
// Longest wait between two looks at the control's timers: a timer enabled by user input or an
// entry point is picked up within this time even when no tick is due.
constexpr int64_t kMaxTimerWaitMs = 50;
}  // namespace

HRESULT DtmGuiObject::Create(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        auto* object = new DtmGuiObject();
        const HRESULT hr = object->QueryInterface(iid, out);
        object->Release();
        return hr;
    });
}

DtmGuiObject::DtmGuiObject()
    : control_(std::make_unique<kestrova::DTMGUI>(services_)), timers_([this] { RunTimers(); }) {
    LockModule();
    for (DtmGuiFacetMaker make : DtmGuiFacets()) facets_.push_back(make(*this));
}

DtmGuiObject::~DtmGuiObject() {
    facets_.clear();
    control_.reset();
    services_.ReleaseInventory();
    UnlockModule();
}

HRESULT DtmGuiObject::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(IDtmActiveXControl)) {
        *out = static_cast<IDtmActiveXControl*>(this);
    } else {
        for (const auto& facet : facets_)
            if ((*out = facet->Find(iid))) break;
    }
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG DtmGuiObject::AddRef() {
    return ++refs_;
}

ULONG DtmGuiObject::Release() {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
}

HRESULT DtmGuiObject::Init(BSTR invokeId, BSTR functionCall, ::IDtm* dtm, VARIANT_BOOL* result) {
    if (!result) return E_POINTER;
    *result = VARIANT_FALSE;
    return Guarded([&] {
        const bool ok =
            control_->Init(Bstr::ToUtf8(invokeId), Bstr::ToUtf8(functionCall), MakeComBridge(dtm));
        *result = ok ? VARIANT_TRUE : VARIANT_FALSE;
        ScheduleTimers();
        return S_OK;
    });
}

HRESULT DtmGuiObject::PrepareToRelease(VARIANT_BOOL* result) {
    if (!result) return E_POINTER;
    *result = VARIANT_TRUE;
    return Guarded([&] {
        control_->PrepareToRelease();
        return S_OK;
    });
}

void DtmGuiObject::ScheduleTimers() {
    const int64_t now = services_.GetClock().NowMs();
    const int64_t due = ui::NextDue(*control_);
    const int64_t wait =
        due < 0 ? kMaxTimerWaitMs : std::clamp<int64_t>(due - now, 0, kMaxTimerWaitMs);
    timers_.Schedule(static_cast<unsigned>(wait));
}

void DtmGuiObject::RunTimers() {
    // Keeps the object alive through the tick, and a failing tick never stops the next one.
    AddRef();
    try {
        ui::RunDueTimers(*control_, services_.GetClock().NowMs());
    } catch (...) {
    }
    try {
        ScheduleTimers();
    } catch (...) {
    }
    Release();
}

}  // namespace kestrova::win

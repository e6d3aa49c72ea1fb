#include "ControlSite.h"

#include <ocidl.h>

namespace kestrova::win {

ControlSite* ControlSite::Create(HWND window) {
    return new ControlSite(window);
}

HRESULT ControlSite::Attach(IUnknown* control, bool initNewFirst) {
    if (!control) return E_POINTER;
    ComPtr<IOleObject> object;
    HRESULT hr = control->QueryInterface(IID_IOleObject, object.PutVoid());
    if (FAILED(hr)) return hr;
    object_ = object;
    ComPtr<IPersistStreamInit> persist;
    control->QueryInterface(IID_IPersistStreamInit, persist.PutVoid());
    if (initNewFirst && persist) persist->InitNew();
    hr = object_->SetClientSite(this);
    if (FAILED(hr)) return hr;
    if (!initNewFirst && persist) persist->InitNew();
    RECT client;
    GetClientRect(window_, &client);
    return object_->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, this, 0, window_, &client);
}

void ControlSite::Detach() {
    if (!object_) return;
    if (auto inPlace = object_.As<IOleInPlaceObject>()) inPlace->InPlaceDeactivate();
    object_->Close(OLECLOSE_NOSAVE);
    object_->SetClientSite(nullptr);
    activeObject_.Reset();
    object_.Reset();
}

void ControlSite::Resize() {
    if (!object_) return;
    RECT client;
    GetClientRect(window_, &client);
    if (auto inPlace = object_.As<IOleInPlaceObject>()) inPlace->SetObjectRects(&client, &client);
}

HWND ControlSite::ControlWindow() const {
    HWND window = nullptr;
    if (object_)
        if (auto inPlace = object_.As<IOleInPlaceObject>()) inPlace->GetWindow(&window);
    return window;
}

// --- IUnknown ---

HRESULT ControlSite::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IID_IUnknown || iid == IID_IOleClientSite)
        *out = static_cast<IOleClientSite*>(this);
    else if (iid == IID_IOleWindow || iid == IID_IOleInPlaceSite)
        *out = static_cast<IOleInPlaceSite*>(this);
    else if (iid == IID_IOleInPlaceUIWindow || iid == IID_IOleInPlaceFrame)
        *out = static_cast<IOleInPlaceFrame*>(this);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG ControlSite::AddRef() {
    return ++refs_;
}

ULONG ControlSite::Release() {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
}

// --- IOleClientSite ---

HRESULT ControlSite::SaveObject() {
    return S_OK;
}
HRESULT ControlSite::GetMoniker(DWORD, DWORD, IMoniker** out) {
    if (out) *out = nullptr;
    return E_NOTIMPL;
}
HRESULT ControlSite::GetContainer(IOleContainer** out) {
    if (out) *out = nullptr;
    return E_NOINTERFACE;
}
HRESULT ControlSite::ShowObject() {
    return S_OK;
}
HRESULT ControlSite::OnShowWindow(BOOL) {
    return S_OK;
}
HRESULT ControlSite::RequestNewObjectLayout() {
    return E_NOTIMPL;
}

// --- IOleWindow, IOleInPlaceSite ---

HRESULT ControlSite::GetWindow(HWND* window) {
    if (!window) return E_POINTER;
    *window = window_;
    return S_OK;
}
HRESULT ControlSite::ContextSensitiveHelp(BOOL) {
    return E_NOTIMPL;
}
HRESULT ControlSite::CanInPlaceActivate() {
    return S_OK;
}
HRESULT ControlSite::OnInPlaceActivate() {
    active_ = true;
    return S_OK;
}
HRESULT ControlSite::OnUIActivate() {
    return S_OK;
}

HRESULT ControlSite::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                      LPRECT pos, LPRECT clip, LPOLEINPLACEFRAMEINFO info) {
    if (!frame || !document || !pos || !clip || !info) return E_POINTER;
    AddRef();
    *frame = this;
    *document = nullptr;
    GetClientRect(window_, pos);
    *clip = *pos;
    info->cb = sizeof(*info);
    info->fMDIApp = FALSE;
    info->hwndFrame = window_;
    info->haccel = nullptr;
    info->cAccelEntries = 0;
    return S_OK;
}

HRESULT ControlSite::Scroll(SIZE) {
    return E_NOTIMPL;
}
HRESULT ControlSite::OnUIDeactivate(BOOL) {
    return S_OK;
}
HRESULT ControlSite::OnInPlaceDeactivate() {
    active_ = false;
    activeObject_.Reset();
    return S_OK;
}
HRESULT ControlSite::DiscardUndoState() {
    return S_OK;
}
HRESULT ControlSite::DeactivateAndUndo() {
    return S_OK;
}
HRESULT ControlSite::OnPosRectChange(LPCRECT) {
    return S_OK;
}

// --- IOleInPlaceUIWindow, IOleInPlaceFrame: no menus, no tool space ---

HRESULT ControlSite::GetBorder(LPRECT) {
    return INPLACE_E_NOTOOLSPACE;
}
HRESULT ControlSite::RequestBorderSpace(LPCBORDERWIDTHS) {
    return INPLACE_E_NOTOOLSPACE;
}
HRESULT ControlSite::SetBorderSpace(LPCBORDERWIDTHS) {
    return OLE_E_INVALIDRECT;
}
HRESULT ControlSite::SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) {
    activeObject_ = ComPtr<IOleInPlaceActiveObject>(object);
    return S_OK;
}
HRESULT ControlSite::InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) {
    return S_OK;
}
HRESULT ControlSite::SetMenu(HMENU, HOLEMENU, HWND) {
    return S_OK;
}
HRESULT ControlSite::RemoveMenus(HMENU) {
    return S_OK;
}
HRESULT ControlSite::SetStatusText(LPCOLESTR) {
    return S_OK;
}
HRESULT ControlSite::EnableModeless(BOOL) {
    return S_OK;
}
HRESULT ControlSite::TranslateAccelerator(LPMSG, WORD) {
    return S_FALSE;
}

}  // namespace kestrova::win

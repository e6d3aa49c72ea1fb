#include "InPlaceControl.h"

#include <algorithm>

#include "Module.h"
#include "Renderer.h"

namespace kestrova::win {

namespace {

// HIMETRIC (1/100 mm) and twips (1/1440 inch).
LONG TwipsToHimetric(int32_t twips) {
    return static_cast<LONG>(MulDiv(twips, 2540, 1440));
}

// The container's frame and the place it gives the control.
struct WindowContext {
    ComPtr<IOleInPlaceFrame> frame;
    RECT pos{};
};

WindowContext ContextOf(IOleInPlaceSite& site) {
    WindowContext context;
    ComPtr<IOleInPlaceUIWindow> document;
    RECT clip{};
    OLEINPLACEFRAMEINFO info{};
    info.cb = sizeof(info);
    if (FAILED(
            site.GetWindowContext(context.frame.Put(), document.Put(), &context.pos, &clip, &info)))
        context.frame.Reset();
    return context;
}

}  // namespace

std::unique_ptr<DtmGuiFacet> InPlaceControl::Make(DtmGuiObject& owner) {
    return std::make_unique<InPlaceControl>(owner);
}

InPlaceControl::InPlaceControl(DtmGuiObject& owner) : DtmGuiFacet(owner) {
    const ui::Control& root = owner.Control();
    extent_ = {TwipsToHimetric(root.Width()), TwipsToHimetric(root.Height())};
}

InPlaceControl::~InPlaceControl() {
    view_.reset();
}

void* InPlaceControl::Find(REFIID iid) {
    if (iid == IID_IOleObject) return static_cast<IOleObject*>(this);
    if (iid == IID_IOleWindow || iid == IID_IOleInPlaceObject)
        return static_cast<IOleInPlaceObject*>(this);
    if (iid == IID_IOleInPlaceActiveObject) return static_cast<IOleInPlaceActiveObject*>(this);
    if (iid == IID_IViewObject || iid == IID_IViewObject2) return static_cast<IViewObject2*>(this);
    if (iid == IID_IPersist || iid == IID_IPersistStreamInit)
        return static_cast<IPersistStreamInit*>(this);
    if (iid == IID_IOleControl) return static_cast<IOleControl*>(this);
    if (iid == IID_IProvideClassInfo) return static_cast<IProvideClassInfo*>(this);
    return nullptr;
}

HRESULT InPlaceControl::QueryInterface(REFIID iid, void** out) {
    return Owner().QueryInterface(iid, out);
}
ULONG InPlaceControl::AddRef() {
    return Owner().AddRef();
}
ULONG InPlaceControl::Release() {
    return Owner().Release();
}

// --- IOleObject ---

HRESULT InPlaceControl::SetClientSite(IOleClientSite* site) {
    return Guarded([&] {
        if (!site) InPlaceDeactivate();
        site_ = ComPtr<IOleClientSite>(site);
        return S_OK;
    });
}

HRESULT InPlaceControl::GetClientSite(IOleClientSite** site) {
    if (!site) return E_POINTER;
    *site = ComPtr<IOleClientSite>(site_).Detach();
    return S_OK;
}

HRESULT InPlaceControl::SetHostNames(LPCOLESTR, LPCOLESTR) {
    return S_OK;
}

HRESULT InPlaceControl::Close(DWORD) {
    return Guarded([&] {
        InPlaceDeactivate();
        viewSink_.Reset();
        if (adviseHolder_) adviseHolder_->SendOnClose();
        return S_OK;
    });
}

HRESULT InPlaceControl::SetMoniker(DWORD, IMoniker*) {
    return E_NOTIMPL;
}
HRESULT InPlaceControl::GetMoniker(DWORD, DWORD, IMoniker** out) {
    if (out) *out = nullptr;
    return E_NOTIMPL;
}
HRESULT InPlaceControl::InitFromData(IDataObject*, BOOL, DWORD) {
    return E_NOTIMPL;
}
HRESULT InPlaceControl::GetClipboardData(DWORD, IDataObject** out) {
    if (out) *out = nullptr;
    return E_NOTIMPL;
}

HRESULT InPlaceControl::DoVerb(LONG verb, LPMSG, IOleClientSite* activeSite, LONG, HWND parent,
                               LPCRECT posRect) {
    return Guarded([&] {
        switch (verb) {
            case OLEIVERB_PRIMARY:
            case OLEIVERB_SHOW:
            case OLEIVERB_INPLACEACTIVATE:
                return ActivateInPlace(activeSite, parent, posRect, false);
            case OLEIVERB_UIACTIVATE:
                return ActivateInPlace(activeSite, parent, posRect, true);
            case OLEIVERB_HIDE:
                if (view_) ShowWindow(view_->RootWindow(), SW_HIDE);
                return S_OK;
            default:
                return verb < 0 ? E_NOTIMPL : OLEOBJ_S_INVALIDVERB;
        }
    });
}

HRESULT InPlaceControl::ActivateInPlace(IOleClientSite* activeSite, HWND parent, LPCRECT posRect,
                                        bool ui) {
    if (!site_ && activeSite) site_ = ComPtr<IOleClientSite>(activeSite);
    if (!site_) return E_UNEXPECTED;
    if (!view_) {
        inPlaceSite_ = site_.As<IOleInPlaceSite>();
        if (!inPlaceSite_) return E_NOINTERFACE;
        if (inPlaceSite_->CanInPlaceActivate() != S_OK) return E_FAIL;
        inPlaceSite_->OnInPlaceActivate();
        HWND window = nullptr;
        if (FAILED(inPlaceSite_->GetWindow(&window)) || !window) window = parent;
        if (!window) return E_FAIL;
        const WindowContext context = ContextOf(*inPlaceSite_.Get());
        view_ = std::make_unique<Renderer>(Owner().Control(), window);
        Place(posRect ? *posRect : context.pos);
        ShowWindow(view_->RootWindow(), SW_SHOWNA);
    } else if (posRect) {
        Place(*posRect);
    }
    if (ui && !uiActive_) {
        uiActive_ = true;
        inPlaceSite_->OnUIActivate();
        if (const WindowContext context = ContextOf(*inPlaceSite_.Get()); context.frame)
            context.frame->SetActiveObject(static_cast<IOleInPlaceActiveObject*>(this), nullptr);
        SetFocus(view_->RootWindow());
    }
    Owner().ScheduleTimers();
    return S_OK;
}

void InPlaceControl::Place(const RECT& pos) {
    view_->SetBounds(pos.left, pos.top, pos.right - pos.left, pos.bottom - pos.top);
    const ui::Control& root = Owner().Control();
    extent_ = {TwipsToHimetric(root.Width()), TwipsToHimetric(root.Height())};
}

HRESULT InPlaceControl::EnumVerbs(IEnumOLEVERB** out) {
    if (out) *out = nullptr;
    return OLEOBJ_E_NOVERBS;
}
HRESULT InPlaceControl::Update() {
    return S_OK;
}
HRESULT InPlaceControl::IsUpToDate() {
    return S_OK;
}
HRESULT InPlaceControl::GetUserClassID(CLSID* clsid) {
    return GetClassID(clsid);
}
HRESULT InPlaceControl::GetUserType(DWORD, LPOLESTR* out) {
    if (out) *out = nullptr;
    return OLE_S_USEREG;
}

HRESULT InPlaceControl::SetExtent(DWORD aspect, SIZEL* size) {
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (!size) return E_POINTER;
    extent_ = *size;
    return S_OK;
}

HRESULT InPlaceControl::GetExtent(DWORD aspect, SIZEL* size) {
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (!size) return E_POINTER;
    *size = extent_;
    return S_OK;
}

HRESULT InPlaceControl::Advise(IAdviseSink* sink, DWORD* cookie) {
    return Guarded([&] {
        if (!adviseHolder_ && FAILED(CreateOleAdviseHolder(adviseHolder_.Put())))
            return E_OUTOFMEMORY;
        return adviseHolder_->Advise(sink, cookie);
    });
}

HRESULT InPlaceControl::Unadvise(DWORD cookie) {
    return adviseHolder_ ? adviseHolder_->Unadvise(cookie) : OLE_E_NOCONNECTION;
}

HRESULT InPlaceControl::EnumAdvise(IEnumSTATDATA** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return adviseHolder_ ? adviseHolder_->EnumAdvise(out) : S_OK;
}

HRESULT InPlaceControl::GetMiscStatus(DWORD, DWORD* status) {
    if (!status) return E_POINTER;
    *status = kMiscStatus;
    return S_OK;
}

HRESULT InPlaceControl::SetColorScheme(LOGPALETTE*) {
    return E_NOTIMPL;
}

// --- IOleWindow, IOleInPlaceObject ---

HRESULT InPlaceControl::GetWindow(HWND* window) {
    if (!window) return E_POINTER;
    *window = view_ ? view_->RootWindow() : nullptr;
    return *window ? S_OK : E_FAIL;
}

HRESULT InPlaceControl::ContextSensitiveHelp(BOOL) {
    return E_NOTIMPL;
}

HRESULT InPlaceControl::InPlaceDeactivate() {
    return Guarded([&] {
        if (!view_) return S_OK;
        UIDeactivate();
        view_.reset();
        if (inPlaceSite_) inPlaceSite_->OnInPlaceDeactivate();
        inPlaceSite_.Reset();
        return S_OK;
    });
}

HRESULT InPlaceControl::UIDeactivate() {
    if (!uiActive_) return S_OK;
    uiActive_ = false;
    if (inPlaceSite_) inPlaceSite_->OnUIDeactivate(FALSE);
    return S_OK;
}

HRESULT InPlaceControl::SetObjectRects(LPCRECT posRect, LPCRECT) {
    if (!posRect) return E_POINTER;
    return Guarded([&] {
        if (view_) Place(*posRect);
        return S_OK;
    });
}

HRESULT InPlaceControl::ReactivateAndUndo() {
    return INPLACE_E_NOTUNDOABLE;
}

// --- IOleInPlaceActiveObject ---

HRESULT InPlaceControl::TranslateAccelerator(LPMSG msg) {
    // Only the tab key is ours: it moves between the control's windows. Every other key goes
    // to the window that has the focus, so the pages see Enter and Escape as typed keys.
    if (!msg || !view_ || msg->message != WM_KEYDOWN || msg->wParam != VK_TAB) return S_FALSE;
    return IsDialogMessageW(view_->RootWindow(), msg) ? S_OK : S_FALSE;
}

HRESULT InPlaceControl::OnFrameWindowActivate(BOOL) {
    return S_OK;
}
HRESULT InPlaceControl::OnDocWindowActivate(BOOL) {
    return S_OK;
}
HRESULT InPlaceControl::ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) {
    return S_OK;
}
HRESULT InPlaceControl::EnableModeless(BOOL) {
    return S_OK;
}

// --- IViewObject2 ---

HRESULT InPlaceControl::Draw(DWORD aspect, LONG, void*, DVTARGETDEVICE*, HDC, HDC dc,
                             LPCRECTL bounds, LPCRECTL, BOOL(STDMETHODCALLTYPE*)(ULONG_PTR),
                             ULONG_PTR) {
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (!dc || !bounds) return E_INVALIDARG;
    return Guarded([&] {
        const RECT box{bounds->left, bounds->top, bounds->right, bounds->bottom};
        HWND window = view_ ? view_->RootWindow() : nullptr;
        if (window && IsWindowVisible(window)) {
            // What is on screen, as the windows drew it.
            RECT client;
            GetClientRect(window, &client);
            HDC source = GetDC(window);
            SetStretchBltMode(dc, HALFTONE);
            StretchBlt(dc, box.left, box.top, box.right - box.left, box.bottom - box.top, source, 0,
                       0, client.right, client.bottom, SRCCOPY);
            ReleaseDC(window, source);
        } else {
            // Not active: a plain face with the control's name, as in a form designer.
            FillRect(dc, &box, GetSysColorBrush(COLOR_BTNFACE));
            RECT text = box;
            SetBkMode(dc, TRANSPARENT);
            DrawTextW(dc, L"Kestrova DTMGUI", -1, &text, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
        }
        return S_OK;
    });
}

HRESULT InPlaceControl::GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** out) {
    if (out) *out = nullptr;
    return S_FALSE;
}
HRESULT InPlaceControl::Freeze(DWORD, LONG, void*, DWORD*) {
    return E_NOTIMPL;
}
HRESULT InPlaceControl::Unfreeze(DWORD) {
    return E_NOTIMPL;
}

HRESULT InPlaceControl::SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) {
    viewAspects_ = aspects;
    viewFlags_ = flags;
    viewSink_ = ComPtr<IAdviseSink>(sink);
    return S_OK;
}

HRESULT InPlaceControl::GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) {
    if (aspects) *aspects = viewAspects_;
    if (flags) *flags = viewFlags_;
    if (sink) *sink = ComPtr<IAdviseSink>(viewSink_).Detach();
    return S_OK;
}

HRESULT InPlaceControl::GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL size) {
    return GetExtent(aspect, size);
}

// --- IPersistStreamInit: the extent is all the control keeps ---

HRESULT InPlaceControl::GetClassID(CLSID* clsid) {
    if (!clsid) return E_POINTER;
    *clsid = CLSID_DTMGUI;
    return S_OK;
}

HRESULT InPlaceControl::IsDirty() {
    return S_FALSE;
}

HRESULT InPlaceControl::Load(LPSTREAM stream) {
    if (!stream) return E_POINTER;
    SIZEL size{};
    ULONG read = 0;
    // A stream without an extent (or from an older writer) leaves the control's own size.
    if (SUCCEEDED(stream->Read(&size, sizeof(size), &read)) && read == sizeof(size) &&
        size.cx > 0 && size.cy > 0)
        extent_ = size;
    return S_OK;
}

HRESULT InPlaceControl::Save(LPSTREAM stream, BOOL) {
    if (!stream) return E_POINTER;
    return stream->Write(&extent_, sizeof(extent_), nullptr);
}

HRESULT InPlaceControl::GetSizeMax(ULARGE_INTEGER* size) {
    if (!size) return E_POINTER;
    size->QuadPart = sizeof(extent_);
    return S_OK;
}

HRESULT InPlaceControl::InitNew() {
    return S_OK;
}

// --- IOleControl ---

HRESULT InPlaceControl::GetControlInfo(CONTROLINFO* info) {
    if (!info) return E_POINTER;
    info->cb = sizeof(*info);
    info->hAccel = nullptr;
    info->cAccel = 0;
    info->dwFlags = 0;
    return S_OK;
}
HRESULT InPlaceControl::OnMnemonic(MSG*) {
    return S_OK;
}
HRESULT InPlaceControl::OnAmbientPropertyChange(DISPID) {
    return S_OK;
}
HRESULT InPlaceControl::FreezeEvents(BOOL) {
    return S_OK;
}

// --- IProvideClassInfo ---

HRESULT InPlaceControl::GetClassInfo(ITypeInfo** info) {
    if (!info) return E_POINTER;
    *info = TypeInfoOf(CLSID_DTMGUI);
    if (!*info) return TYPE_E_CANTLOADLIBRARY;
    (*info)->AddRef();
    return S_OK;
}

}  // namespace kestrova::win

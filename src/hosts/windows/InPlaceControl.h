// What a container needs to site the control and show it in place: the OLE embedding, in-place
// activation, view, persistence and control interfaces. While active in place the control's
// model is drawn by the Win32 renderer into the container's window. Containers differ in order
// (some set the client site first, ATL calls InitNew first); both are accepted.
#pragma once

#include <windows.h>

#include <ocidl.h>
#include <oleidl.h>

#include <memory>

#include "ComTypes.h"
#include "DtmGuiObject.h"

namespace kestrova::win {

class Renderer;

// The misc-status bits of a windowed control that wants its client site before anything else.
inline constexpr DWORD kMiscStatus = OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE |
                                     OLEMISC_INSIDEOUT | OLEMISC_ACTIVATEWHENVISIBLE |
                                     OLEMISC_SETCLIENTSITEFIRST;

class InPlaceControl final : public DtmGuiFacet,
                             public IOleObject,
                             public IOleInPlaceObject,
                             public IOleInPlaceActiveObject,
                             public IViewObject2,
                             public IPersistStreamInit,
                             public IOleControl,
                             public IProvideClassInfo {
  public:
    explicit InPlaceControl(DtmGuiObject& owner);
    ~InPlaceControl() override;
    void* Find(REFIID iid) override;
    static std::unique_ptr<DtmGuiFacet> Make(DtmGuiObject& owner);

    // The renderer while active in place, else null (hosts and tests look at the windows).
    Renderer* View() const { return view_.get(); }

    // IUnknown: the control's identity.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IOleObject
    HRESULT STDMETHODCALLTYPE SetClientSite(IOleClientSite* site) override;
    HRESULT STDMETHODCALLTYPE GetClientSite(IOleClientSite** site) override;
    HRESULT STDMETHODCALLTYPE SetHostNames(LPCOLESTR, LPCOLESTR) override;
    HRESULT STDMETHODCALLTYPE Close(DWORD saveOption) override;
    HRESULT STDMETHODCALLTYPE SetMoniker(DWORD, IMoniker*) override;
    HRESULT STDMETHODCALLTYPE GetMoniker(DWORD, DWORD, IMoniker**) override;
    HRESULT STDMETHODCALLTYPE InitFromData(IDataObject*, BOOL, DWORD) override;
    HRESULT STDMETHODCALLTYPE GetClipboardData(DWORD, IDataObject**) override;
    HRESULT STDMETHODCALLTYPE DoVerb(LONG verb, LPMSG, IOleClientSite* activeSite, LONG,
                                     HWND parent, LPCRECT posRect) override;
    HRESULT STDMETHODCALLTYPE EnumVerbs(IEnumOLEVERB**) override;
    HRESULT STDMETHODCALLTYPE Update() override;
    HRESULT STDMETHODCALLTYPE IsUpToDate() override;
    HRESULT STDMETHODCALLTYPE GetUserClassID(CLSID* clsid) override;
    HRESULT STDMETHODCALLTYPE GetUserType(DWORD, LPOLESTR*) override;
    HRESULT STDMETHODCALLTYPE SetExtent(DWORD aspect, SIZEL* size) override;
    HRESULT STDMETHODCALLTYPE GetExtent(DWORD aspect, SIZEL* size) override;
    HRESULT STDMETHODCALLTYPE Advise(IAdviseSink* sink, DWORD* cookie) override;
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
    HRESULT STDMETHODCALLTYPE EnumAdvise(IEnumSTATDATA** out) override;
    HRESULT STDMETHODCALLTYPE GetMiscStatus(DWORD aspect, DWORD* status) override;
    HRESULT STDMETHODCALLTYPE SetColorScheme(LOGPALETTE*) override;

    // IOleWindow (shared by the two in-place interfaces)
    HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) override;
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override;

    // IOleInPlaceObject
    HRESULT STDMETHODCALLTYPE InPlaceDeactivate() override;
    HRESULT STDMETHODCALLTYPE UIDeactivate() override;
    HRESULT STDMETHODCALLTYPE SetObjectRects(LPCRECT posRect, LPCRECT clipRect) override;
    HRESULT STDMETHODCALLTYPE ReactivateAndUndo() override;

    // IOleInPlaceActiveObject
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(LPMSG msg) override;
    HRESULT STDMETHODCALLTYPE OnFrameWindowActivate(BOOL) override;
    HRESULT STDMETHODCALLTYPE OnDocWindowActivate(BOOL) override;
    HRESULT STDMETHODCALLTYPE ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) override;
    HRESULT STDMETHODCALLTYPE EnableModeless(BOOL) override;

    // IViewObject2
    HRESULT STDMETHODCALLTYPE Draw(DWORD aspect, LONG, void*, DVTARGETDEVICE*, HDC, HDC dc,
                                   LPCRECTL bounds, LPCRECTL, BOOL(STDMETHODCALLTYPE*)(ULONG_PTR),
                                   ULONG_PTR) override;
    HRESULT STDMETHODCALLTYPE GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC,
                                          LOGPALETTE**) override;
    HRESULT STDMETHODCALLTYPE Freeze(DWORD, LONG, void*, DWORD*) override;
    HRESULT STDMETHODCALLTYPE Unfreeze(DWORD) override;
    HRESULT STDMETHODCALLTYPE SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) override;
    HRESULT STDMETHODCALLTYPE GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) override;
    HRESULT STDMETHODCALLTYPE GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL size) override;

    // IPersistStreamInit
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override;
    HRESULT STDMETHODCALLTYPE IsDirty() override;
    HRESULT STDMETHODCALLTYPE Load(LPSTREAM stream) override;
    HRESULT STDMETHODCALLTYPE Save(LPSTREAM stream, BOOL clearDirty) override;
    HRESULT STDMETHODCALLTYPE GetSizeMax(ULARGE_INTEGER* size) override;
    HRESULT STDMETHODCALLTYPE InitNew() override;

    // IOleControl
    HRESULT STDMETHODCALLTYPE GetControlInfo(CONTROLINFO* info) override;
    HRESULT STDMETHODCALLTYPE OnMnemonic(MSG*) override;
    HRESULT STDMETHODCALLTYPE OnAmbientPropertyChange(DISPID) override;
    HRESULT STDMETHODCALLTYPE FreezeEvents(BOOL) override;

    // IProvideClassInfo
    HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override;

  private:
    HRESULT ActivateInPlace(IOleClientSite* activeSite, HWND parent, LPCRECT posRect, bool ui);
    void Place(const RECT& pos);

    ComPtr<IOleClientSite> site_;
    ComPtr<IOleInPlaceSite> inPlaceSite_;
    ComPtr<IOleAdviseHolder> adviseHolder_;
    ComPtr<IAdviseSink> viewSink_;
    DWORD viewAspects_ = 0, viewFlags_ = 0;
    SIZEL extent_{};  // HIMETRIC
    bool uiActive_ = false;
    std::unique_ptr<Renderer> view_;
};

}  // namespace kestrova::win

// A small OLE container site, as an FDT frame provides one: it sites a control in a window of
// the frame, activates it in place, gives it the window's client area and takes it down again.
#pragma once

#include <windows.h>

#include <oleidl.h>

#include <atomic>

#include "ComTypes.h"

namespace kestrova::win {

class ControlSite final : public IOleClientSite, public IOleInPlaceSite, public IOleInPlaceFrame {
  public:
    // A site in window; the caller holds the one reference it starts with.
    static ControlSite* Create(HWND window);

    // Sites the control and activates it in place over the window's client area. Some
    // containers call InitNew before setting the client site (initNewFirst); the control
    // accepts both orders.
    HRESULT Attach(IUnknown* control, bool initNewFirst);
    // Deactivates, closes and unsites the control.
    void Detach();
    // The window was resized: the control gets the new client area.
    void Resize();
    // The control's own window while active in place.
    HWND ControlWindow() const;
    bool Active() const { return active_; }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IOleClientSite
    HRESULT STDMETHODCALLTYPE SaveObject() override;
    HRESULT STDMETHODCALLTYPE GetMoniker(DWORD, DWORD, IMoniker** out) override;
    HRESULT STDMETHODCALLTYPE GetContainer(IOleContainer** out) override;
    HRESULT STDMETHODCALLTYPE ShowObject() override;
    HRESULT STDMETHODCALLTYPE OnShowWindow(BOOL) override;
    HRESULT STDMETHODCALLTYPE RequestNewObjectLayout() override;

    // IOleWindow (shared)
    HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) override;
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override;

    // IOleInPlaceSite
    HRESULT STDMETHODCALLTYPE CanInPlaceActivate() override;
    HRESULT STDMETHODCALLTYPE OnInPlaceActivate() override;
    HRESULT STDMETHODCALLTYPE OnUIActivate() override;
    HRESULT STDMETHODCALLTYPE GetWindowContext(IOleInPlaceFrame** frame,
                                               IOleInPlaceUIWindow** document, LPRECT pos,
                                               LPRECT clip, LPOLEINPLACEFRAMEINFO info) override;
    HRESULT STDMETHODCALLTYPE Scroll(SIZE) override;
    HRESULT STDMETHODCALLTYPE OnUIDeactivate(BOOL) override;
    HRESULT STDMETHODCALLTYPE OnInPlaceDeactivate() override;
    HRESULT STDMETHODCALLTYPE DiscardUndoState() override;
    HRESULT STDMETHODCALLTYPE DeactivateAndUndo() override;
    HRESULT STDMETHODCALLTYPE OnPosRectChange(LPCRECT) override;

    // IOleInPlaceUIWindow, IOleInPlaceFrame
    HRESULT STDMETHODCALLTYPE GetBorder(LPRECT) override;
    HRESULT STDMETHODCALLTYPE RequestBorderSpace(LPCBORDERWIDTHS) override;
    HRESULT STDMETHODCALLTYPE SetBorderSpace(LPCBORDERWIDTHS) override;
    HRESULT STDMETHODCALLTYPE SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) override;
    HRESULT STDMETHODCALLTYPE InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) override;
    HRESULT STDMETHODCALLTYPE SetMenu(HMENU, HOLEMENU, HWND) override;
    HRESULT STDMETHODCALLTYPE RemoveMenus(HMENU) override;
    HRESULT STDMETHODCALLTYPE SetStatusText(LPCOLESTR) override;
    HRESULT STDMETHODCALLTYPE EnableModeless(BOOL) override;
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(LPMSG, WORD) override;

  private:
    explicit ControlSite(HWND window) : window_(window) {}
    ~ControlSite() = default;

    std::atomic<ULONG> refs_{1};
    HWND window_;
    ComPtr<IOleObject> object_;
    ComPtr<IOleInPlaceActiveObject> activeObject_;
    bool active_ = false;
};

}  // namespace kestrova::win

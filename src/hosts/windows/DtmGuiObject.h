// The COM class DTMGUI ("Kestrova.DTMGUI"): the core's main control behind the FDT interface
// IDtmActiveXControl, by vtable and late-bound through IDispatch. Further interfaces of the
// control (in-place activation, persistence, ...) live in facets of their own files, which
// QueryInterface asks in turn.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <vector>

#include "Kestrova_h.h"
#include "Module.h"
#include "TimerWindow.h"
#include "WindowsServices.h"
#include "dtmgui/DTMGUI.h"

namespace kestrova::win {

class DtmGuiObject;

// A group of further interfaces of the control, implemented in a file of its own. Its
// IUnknown methods forward to the control (Owner().QueryInterface, AddRef, Release), so the
// control is one COM identity.
class DtmGuiFacet {
  public:
    explicit DtmGuiFacet(DtmGuiObject& owner) : owner_(owner) {}
    virtual ~DtmGuiFacet() = default;
    // This facet's interface pointer for iid (not yet AddRef'ed), or null.
    virtual void* Find(REFIID iid) = 0;
    DtmGuiObject& Owner() const { return owner_; }

  private:
    DtmGuiObject& owner_;
};
using DtmGuiFacetMaker = std::unique_ptr<DtmGuiFacet> (*)(DtmGuiObject&);
// The facets every control gets, in the order QueryInterface asks them (DtmGuiFacets.cpp).
std::vector<DtmGuiFacetMaker> DtmGuiFacets();

class DtmGuiObject final : public DispatchOf<IDtmActiveXControl> {
  public:
    // Creates a control and answers its interface iid (the class factory's CreateInstance).
    static HRESULT Create(REFIID iid, void** out);

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IDtmActiveXControl
    HRESULT STDMETHODCALLTYPE Init(BSTR invokeId, BSTR functionCall, ::IDtm* dtm,
                                   VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE PrepareToRelease(VARIANT_BOOL* result) override;

    // For the facets and hosts: the core control, its services, and the timer pump to call
    // after anything that may have enabled a timer.
    kestrova::DTMGUI& Control() { return *control_; }
    WindowsServices& Services() { return services_; }
    void ScheduleTimers();

  private:
    DtmGuiObject();
    ~DtmGuiObject();
    void RunTimers();

    std::atomic<ULONG> refs_{1};
    WindowsServices services_;
    std::unique_ptr<kestrova::DTMGUI> control_;
    TimerWindow timers_;
    std::vector<std::unique_ptr<DtmGuiFacet>> facets_;
};

}  // namespace kestrova::win

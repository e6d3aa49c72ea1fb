// The simulated IO-Link USB master as a COM business object ("Kestrova.Simulator"): IDtm,
// IGuiBridge and IGuiReleaseNotify over the simulator, so the control runs in any frame without
// hardware.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>

#include "Kestrova_h.h"
#include "Module.h"
#include "sim/Simulator.h"

namespace kestrova::win {

class SimulatorObject final : public DispatchOf<::IGuiBridge> {
  public:
    static HRESULT Create(REFIID iid, void** out);
    // Our own simulator behind a business object, or null for any other object; the reference
    // is borrowed from obj.
    static SimulatorObject* Find(IUnknown* obj);

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IGuiBridge
    HRESULT STDMETHODCALLTYPE RegisterGui(BSTR progId, BSTR invokeId) override;
    HRESULT STDMETHODCALLTYPE UnregisterGui(BSTR invokeId) override;
    HRESULT STDMETHODCALLTYPE CloseGui(BSTR invokeId) override;
    HRESULT STDMETHODCALLTYPE Reserved4() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved5() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved6() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved7() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved8() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SendCommand(BSTR text, VARIANT* answer) override;
    HRESULT STDMETHODCALLTYPE SetItem(BSTR name, VARIANT value) override;

    sim::Simulator& Simulator() { return *sim_; }

  private:
    // The other two interfaces, each with its own type information for late binding.
    class DtmPart final : public DispatchOf<::IDtm> {
      public:
        explicit DtmPart(SimulatorObject& owner) : owner_(owner) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
            return owner_.QueryInterface(iid, out);
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }

      private:
        SimulatorObject& owner_;
    };
    class NotifyPart final : public DispatchOf<::IGuiReleaseNotify> {
      public:
        explicit NotifyPart(SimulatorObject& owner) : owner_(owner) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
            return owner_.QueryInterface(iid, out);
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }
        HRESULT STDMETHODCALLTYPE NotifyGuiReleased() override;

      private:
        SimulatorObject& owner_;
    };

    SimulatorObject();
    ~SimulatorObject();
    template <class Fn>
    HRESULT Run(Fn&& fn);

    std::atomic<ULONG> refs_{1};
    std::unique_ptr<sim::Simulator> sim_;
    DtmPart dtm_{*this};
    NotifyPart notify_{*this};
};

}  // namespace kestrova::win

// A DTM business object in COM form: IDtm, IGuiBridge and IGuiReleaseNotify over one of the
// core's bridges. Over the simulated master it is the class "Kestrova.Simulator", so the control
// runs in any frame without hardware; tests put a scripted bridge behind it.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "Kestrova_h.h"
#include "Module.h"
#include "link/IGuiBridge.h"
#include "ui/Services.h"

namespace kestrova::win {

class BusinessObject final : public DispatchOf<::IGuiBridge> {
  public:
    using Inventory = std::function<std::vector<ui::InventoryRecord>()>;

    // A business object over bridge; inventory, when given, is the USB inventory that goes
    // with it (the simulated master's).
    static HRESULT Create(std::shared_ptr<kestrova::IGuiBridge> bridge, Inventory inventory,
                          REFIID iid, void** out);
    // The class "Kestrova.Simulator": a business object over a new simulated master.
    static HRESULT CreateSimulator(REFIID iid, void** out);
    // The inventory of one of our business objects in this process; empty for other objects.
    static Inventory InventoryOf(IUnknown* obj);

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

  private:
    // The other two interfaces, each with its own type information for late binding.
    class NotifyPart final : public PartOf<::IGuiReleaseNotify> {
      public:
        explicit NotifyPart(BusinessObject& owner) : PartOf(owner), owner_(owner) {}
        HRESULT STDMETHODCALLTYPE NotifyGuiReleased() override;

      private:
        BusinessObject& owner_;
    };

    BusinessObject(std::shared_ptr<kestrova::IGuiBridge> bridge, Inventory inventory);
    ~BusinessObject();
    template <class Fn>
    HRESULT Run(Fn&& fn);

    std::atomic<ULONG> refs_{1};
    std::shared_ptr<kestrova::IGuiBridge> bridge_;
    Inventory inventory_;
    PartOf<::IDtm> dtm_{*this};
    NotifyPart notify_{*this};
};

}  // namespace kestrova::win

// What every page offers the main control: RefreshContents with the binding (or none), and the
// three page events the frame listens to.
#pragma once

#include <cstdint>
#include <functional>

#include "ui/Control.h"
#include "ui/Services.h"

namespace kestrova {

class ClsGUI;

class Page : public ui::UserControl {
  public:
    // Design-time size of every page: the inside of the page frame at the control's first size.
    static constexpr int32_t kWidth = 7825;
    static constexpr int32_t kHeight = 6135;

    Page(ui::Services& services, std::string name) : ui::UserControl(std::move(name)) {
        SetClock(&services.GetClock());
        Move(0, 0, kWidth, kHeight);
    }

    // With a binding the page stores it and starts; with none it stops and lets go of it.
    virtual void RefreshContents(ClsGUI* gui) = 0;

    // First event: the page applied its captions; the frame runs its language pass.
    std::function<void()> LanguageChanged;
    // Second event: the plug check (force presence test, the state the page found, a master is
    // present although the business object names no product).
    std::function<void(bool force, int32_t state, bool present)> CheckProduct;
    // Third event: a single boolean (the page is about to read, or is active in a state).
    std::function<void(bool value)> Activity;

  protected:
    // The page title across the top, in bold, the same on every page.
    ui::Control& AddTitle(std::string name, std::string caption) {
        ui::Control& title =
            AddAt(ui::Kind::Label, std::move(name), 120, 60, 7590, 300, std::move(caption));
        title.SetFontBold(true);
        title.SetFontSize(9.75);
        return title;
    }
};

}  // namespace kestrova

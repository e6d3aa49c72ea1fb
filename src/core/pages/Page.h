// What every page offers the main control: RefreshContents with the binding (or none), and the
// three page events the frame listens to.
#pragma once

#include <cstdint>
#include <functional>

#include "ui/Control.h"

namespace kestrova {

class ClsGUI;

class Page : public ui::UserControl {
  public:
    using ui::UserControl::UserControl;

    // With a binding the page stores it and starts; with none it stops and lets go of it.
    virtual void RefreshContents(ClsGUI* gui) = 0;

    // First event: the page applied its captions; the frame runs its language pass.
    std::function<void()> LanguageChanged;
    // Second event: the plug check (force presence test, the state the page found, a master is
    // present although the business object names no product).
    std::function<void(bool force, int32_t state, bool present)> CheckProduct;
    // Third event: a single boolean (the page is about to read, or is active in a state).
    std::function<void(bool value)> Activity;
};

}  // namespace kestrova

// Small helpers shared by the pages, their panels and the frame: running one step of a timer tick
// so that a failing device call cannot stop the rest of the tick, raising the closing event of a
// user action even when the action failed half way, fetching waiting events and taking over a
// newly plugged master.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "device/ClsDevice.h"
#include "link/ClsGUI.h"
#include "tools/Discovery.h"
#include "ui/Services.h"

namespace kestrova::pages {

// Runs one step; a raised error ends the step only. Answers whether the step completed.
template <class Step>
bool TryStep(Step&& step) {
    try {
        std::forward<Step>(step)();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// Calls its action when the scope ends, however it ends (the action must not throw).
template <class Action>
class OnScopeExit {
  public:
    explicit OnScopeExit(Action action) : action_(std::move(action)) {}
    ~OnScopeExit() { action_(); }
    OnScopeExit(const OnScopeExit&) = delete;
    OnScopeExit& operator=(const OnScopeExit&) = delete;

  private:
    Action action_;
};

// Whether the user may not switch the IO-Link mode now (the communication panel's readOnly):
// while the business object holds no connection to the master, a mode change cannot reach it.
inline bool ModeReadOnly(const ClsGUI& gui) {
    return !gui.DtmConnected;
}

// Tells the user that an action on the device failed; the description names the cause.
inline void ReportFailure(ui::Services& services, const std::string& action,
                          const std::exception& error) {
    services.MsgBox(action + ": " + error.what(), ui::msgbox::OkOnly | ui::msgbox::Exclamation, "");
}

// Takes at most maxEvents waiting events from the master into the device proxy; stops early
// once the master has none left.
inline void FetchEvents(ClsDevice& device, int maxEvents) {
    for (int taken = 0; taken < maxEvents && device.UpdateEvents(); ++taken) {
    }
}

// Looks for a supported master when none is known. A master found is handed to the binding
// unless the business object already holds a connection. Answers whether it was handed over.
inline bool AdoptNewMaster(ui::Services& services, ClsGUI& gui) {
    const std::string device = FindNewMaster(services);
    if (device.empty()) return false;
    gui.LogEvent("Neues Device gefunden: " + device);
    if (gui.DtmConnected) return false;
    gui.LogEvent("IsDtmConnected=FALSE");
    gui.SetActualDeviceIdentifier(device);
    gui.LogEvent("USB-Revision:" + gui.GetItem("USBRevision"));
    return true;
}

}  // namespace kestrova::pages

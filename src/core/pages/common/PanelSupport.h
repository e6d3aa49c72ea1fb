// Small helpers shared by the expert pages and their panels: running one step of a timer tick
// so that a failing device call cannot stop the rest of the tick, and raising the closing event
// of a user action even when the action failed half way.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "link/ClsGUI.h"
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

}  // namespace kestrova::pages

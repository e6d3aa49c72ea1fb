#include "pages/iolinkparam/IOLinkParam.h"

#include "link/ClsGUI.h"

namespace kestrova {

namespace {
const LabelText kTitle = {"PARAMLabel1", "IO-Link Parameter", "IO-Link Parameter"};
}  // namespace

IOLinkParam::IOLinkParam(ui::Services& services, std::string name)
    : pages::PollingPage(services, std::move(name), kTitle),
      parameter_(Add<UCParameter>(services, "UCParameter1")) {
    parameter_.Move(120, 420, parameter_.Width(), parameter_.Height());
    // The parameter panel needs more height than the process data panel; the list starts below.
    PlaceEvents(420 + parameter_.Height() + 75);
    parameter_.ChangeTimer = [this](bool enable, int16_t reason) {
        if (enable) pending_ = reason;
        PanelEvent(enable);
    };
}

void IOLinkParam::UpdatePanel(int16_t state) {
    parameter_.Enable(state == FOUND);
    if (state == 1) RaiseActivity(false);
}

void IOLinkParam::RunPendingWork(int16_t state) {
    if (state != FOUND || pending_ == 0) return;
    // Taken before it runs, so a request that fails is not repeated on every tick.
    const int16_t reason = pending_;
    pending_ = 0;
    parameter_.ExecuteReason(reason);
}

}  // namespace kestrova

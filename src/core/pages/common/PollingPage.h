// The common part of the IO-Link data and parameter pages: one polling timer drives every panel
// of the page. A panel that needs the device raises its event; false stops the timer, true makes
// the next tick come at once, and the work runs on that tick, so no two device accesses overlap.
// A device call that fails inside a tick ends only its own step; the timer always runs again.
#pragma once

#include <cstdint>
#include <string>

#include "link/ClsGUI.h"
#include "pages/Page.h"
#include "pages/communication/IOLinkCommunication.h"
#include "pages/eventdata/UCEventData.h"
#include "ui/Services.h"

namespace kestrova::pages {

class PollingPage : public Page {
  public:
    static constexpr int32_t kInterval = 300;
    static constexpr int32_t kAtOnce = 1;
    static constexpr int kEventsPerTick = 5;

    void RefreshContents(ClsGUI* gui) override;
    void SetLanguage();
    // Raises the third event and takes in new events, outside the tick.
    void Actualize();

    IOLinkCommunication& Communication() { return communication_; }
    UCEventData& Events() { return events_; }

  protected:
    PollingPage(ui::Services& services, std::string name, const LabelText& title);

    // Hands the binding (or none) to the page's own panel.
    virtual void RefreshPanel(ClsGUI* gui) = 0;
    virtual void SetPanelLanguage() = 0;
    // Whether the panels must be updated although the state stayed the same.
    virtual bool SettingsChanged() { return false; }
    // Enables the page's own panel for a state 1..6.
    virtual void UpdatePanel(int16_t state) = 0;
    // The work the panels asked for, run once per tick after the polling.
    virtual void RunPendingWork(int16_t state) = 0;

    // The event list runs from top to the page's bottom, across the page.
    void PlaceEvents(int32_t top);

    // A panel's event: false stops the polling, true asks for a tick at once.
    void PanelEvent(bool enable);
    void RaiseActivity(bool value);
    void RaiseCheckProduct(bool force, int16_t state);

    void OnShow() override;
    void OnHide() override;
    void OnResize() override;

    ClsGUI* gui_ = nullptr;

  private:
    void Tick();

    LabelText title_;
    IOLinkCommunication& communication_;
    UCEventData& events_;
    ui::Control& timer_;
    int32_t eventsTop_ = 0;
    int16_t lastState_ = 1;
    bool panelUpdateFailed_ = false;
};

}  // namespace kestrova::pages

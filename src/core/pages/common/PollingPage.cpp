#include "pages/common/PollingPage.h"

#include <algorithm>

#include "link/ClsGUI.h"
#include "pages/common/PanelSupport.h"

namespace kestrova::pages {

namespace {
// The event list's design-time place on the page.
constexpr int32_t kEventsLeft = 120, kEventsWidth = 7590, kEventsBottom = 120;
}  // namespace

PollingPage::PollingPage(ui::Services& services, std::string name, const LabelText& title)
    : Page(services, std::move(name)),
      title_(title),
      communication_(Add<IOLinkCommunication>(services, "IOLinkCommunication1")),
      events_(Add<UCEventData>(services, "UCEventData1")),
      timer_(AddControl(ui::Kind::Timer, "Timer1")) {
    // The page's own panel sits at the top left, the communication panel beside it and the
    // event list along the bottom.
    communication_.Move(3880, 420, communication_.Width(), communication_.Height());
    PlaceEvents(420 + communication_.Height() + 75);  // the page moves it below its own panel
    timer_.SetEnabled(false);
    timer_.SetInterval(kInterval);

    AddTitle("Label1", title.English);

    timer_.OnTimer = [this] { Tick(); };
    communication_.ChangeTimer = [this](bool enable) { PanelEvent(enable); };
    events_.ChangeTimer = [this](bool enable) { PanelEvent(enable); };
}

void PollingPage::PlaceEvents(int32_t top) {
    eventsTop_ = top;
    OnResize();
}

void PollingPage::OnResize() {
    // Only the event list follows the page: it grows with it, and a frame that gives less than
    // the design size takes its room from the list down to the buttons, so nothing is cut off
    // below. Everything else keeps its design-time place.
    const int32_t right = kWidth - kEventsLeft - kEventsWidth;
    events_.Move(kEventsLeft, eventsTop_, std::max(kEventsWidth, Width() - kEventsLeft - right),
                 std::max(UCEventData::kMinHeight, Height() - eventsTop_ - kEventsBottom));
}

void PollingPage::OnShow() {
    lastState_ = 0;
    timer_.SetInterval(kAtOnce);
}

void PollingPage::OnHide() {
    timer_.SetEnabled(false);
}

void PollingPage::RefreshContents(ClsGUI* gui) {
    gui_ = gui;
    // Whatever fails on the way, a bound page keeps polling: only its ticks notice an unplug.
    OnScopeExit arm([this] { timer_.SetEnabled(gui_ != nullptr); });
    communication_.RefreshContents(gui);
    events_.RefreshContents(gui);
    RefreshPanel(gui);
    SetLanguage();
}

void PollingPage::SetLanguage() {
    if (!gui_) return;
    const LabelText rows[] = {title_};
    gui_->SetUILabels(rows);
    (*this)("Label1").SetCaption(gui_->GetUILabel(title_.Key));
    communication_.SetLanguage();
    SetPanelLanguage();
    events_.SetLanguage();
    if (LanguageChanged) LanguageChanged();
}

void PollingPage::PanelEvent(bool enable) {
    timer_.SetEnabled(false);
    if (!enable || !gui_) return;
    timer_.SetInterval(kAtOnce);
    timer_.SetEnabled(true);
}

void PollingPage::RaiseActivity(bool value) {
    if (Activity) TryStep([&] { Activity(value); });
}

void PollingPage::RaiseCheckProduct(bool force, int16_t state) {
    // The frame's plug check reads the business object; its failure must not end the tick.
    if (CheckProduct) TryStep([&] { CheckProduct(force, state, false); });
}

void PollingPage::Actualize() {
    RaiseActivity(true);
    if (gui_) events_.ActualizeEvents(gui_->Device, kEventsPerTick);
}

void PollingPage::Tick() {
    if (!gui_) {
        timer_.SetEnabled(false);  // nothing to poll; don't keep firing
        return;
    }
    if (!timer_.Enabled()) return;
    timer_.SetInterval(kInterval);
    timer_.SetEnabled(false);

    TryStep([this] { events_.ActualizeEvents(gui_->Device, kEventsPerTick); });
    TryStep([this] { gui_->CheckOnlineState(); });
    const int16_t state = gui_->ConnectionStateCode;
    TryStep([&] { communication_.SetConnectionState(state, ModeReadOnly(*gui_)); });

    const bool settingsChanged = SettingsChanged();
    if ((state != lastState_ || settingsChanged || panelUpdateFailed_) && state >= 1 && state <= 6)
        panelUpdateFailed_ = !TryStep([&] { UpdatePanel(state); });  // failed: again next tick
    if (state != lastState_) RaiseCheckProduct(false, state);
    if (state != 1)
        RaiseActivity(true);
    else
        RaiseCheckProduct(true, state);
    lastState_ = state;

    if (gui_) TryStep([&] { RunPendingWork(state); });
    // A handler may have let go of the page meanwhile (the frame released it).
    if (gui_) timer_.SetEnabled(true);
}

}  // namespace kestrova::pages

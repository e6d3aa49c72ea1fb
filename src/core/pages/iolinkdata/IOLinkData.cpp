#include "pages/iolinkdata/IOLinkData.h"

#include "link/ClsGUI.h"

namespace kestrova {

namespace {
const LabelText kTitle = {"DATALabel1", "IO-Link Data", "IO-Link Prozessdaten"};
}  // namespace

IOLinkData::IOLinkData(ui::Services& services, std::string name)
    : pages::PollingPage(services, std::move(name), kTitle),
      process_(Add<UCProcessData>(services, "UCProcessData1")) {
    process_.Move(120, 420, process_.Width(), process_.Height());
    PlaceEvents(420 + process_.Height() + 75);
    process_.ChangeTimer = [this](bool enable) { PanelEvent(enable); };
}

bool IOLinkData::SettingsChanged() {
    const bool autoUpdate = process_.AutoUpdate();
    const bool connected = gui_->DtmConnected;
    const bool changed = autoUpdate != lastAutoUpdate_ || connected != lastConnected_;
    lastAutoUpdate_ = autoUpdate;
    lastConnected_ = connected;
    return changed;
}

void IOLinkData::UpdatePanel(int16_t state) {
    const bool autoUpdate = process_.AutoUpdate();
    switch (state) {
        case 1:
            process_.Enable(UCProcessData::kNoData, autoUpdate, false, false);
            RaiseActivity(false);
            break;
        case 2:
        case 5:
            process_.Enable(UCProcessData::kNoData, autoUpdate, false, false);
            break;
        case 3: {
            ClsDevice& device = gui_->Device;
            const bool write = device.ByteOutputLength() > 0;
            const bool read = device.ByteInputLength() > 0;
            process_.Enable(UCProcessData::kReadWrite, autoUpdate, write, read);
            break;
        }
        case 4:
            process_.Enable(UCProcessData::kReadOnly, autoUpdate, false, true);
            break;
        case 6:
            process_.Enable(UCProcessData::kNoData, false, false, false);
            break;
        default:
            break;
    }
}

void IOLinkData::RunPendingWork(int16_t state) {
    if (process_.AutoUpdate() || process_.OutputsChanged()) process_.ActualizeProcessData(state);
}

}  // namespace kestrova

// The IO-Link data page: process data, the IO-Link communication panel and the event list,
// driven by the page's polling timer.
#pragma once

#include "pages/common/PollingPage.h"
#include "pages/processdata/UCProcessData.h"

namespace kestrova {

class IOLinkData : public pages::PollingPage {
  public:
    explicit IOLinkData(ui::Services& services, std::string name = "IOLinkData1");

    UCProcessData& ProcessData() { return process_; }

  protected:
    void RefreshPanel(ClsGUI* gui) override { process_.RefreshContents(gui); }
    void SetPanelLanguage() override { process_.SetLanguage(); }
    bool SettingsChanged() override;
    void UpdatePanel(int16_t state) override;
    void RunPendingWork(int16_t state) override;

  private:
    UCProcessData& process_;
    bool lastAutoUpdate_ = true;
    bool lastConnected_ = false;
};

}  // namespace kestrova

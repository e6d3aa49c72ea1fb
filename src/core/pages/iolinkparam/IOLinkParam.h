// The IO-Link parameter page: ISDU parameter access, the IO-Link communication panel and the
// event list. A parameter request waits as pending work until a tick finds the device in
// IO-Link mode.
#pragma once

#include "pages/common/PollingPage.h"
#include "pages/parameter/UCParameter.h"

namespace kestrova {

class IOLinkParam : public pages::PollingPage {
  public:
    explicit IOLinkParam(ui::Services& services, std::string name = "IOLinkParam1");

    UCParameter& Parameter() { return parameter_; }
    int16_t PendingReason() const { return pending_; }

  protected:
    void RefreshPanel(ClsGUI* gui) override { parameter_.RefreshContents(gui); }
    void SetPanelLanguage() override { parameter_.SetLanguage(); }
    void UpdatePanel(int16_t state) override;
    void RunPendingWork(int16_t state) override;

  private:
    UCParameter& parameter_;
    int16_t pending_ = 0;
};

}  // namespace kestrova

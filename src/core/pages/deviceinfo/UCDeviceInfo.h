// The device information page: identification and communication parameters of the connected
// IO-Link device, read once each time communication is established, with the IO-Link
// communication panel beside them.
#pragma once

#include <cstdint>

#include "pages/Page.h"
#include "pages/communication/IOLinkCommunication.h"
#include "ui/Services.h"

namespace kestrova {

class UCDeviceInfo : public Page {
  public:
    static constexpr int32_t kInterval = 300;

    explicit UCDeviceInfo(ui::Services& services, std::string name = "UCDeviceInfo1");

    void RefreshContents(ClsGUI* gui) override;
    void SetLanguage();

    IOLinkCommunication& Communication() { return communication_; }

  protected:
    void OnShow() override;
    void OnHide() override;

  private:
    void Tick();
    void ClearValues();
    void ReadValues();
    void RaiseCheckProduct(bool force, int16_t state);
    ui::Control& C(const char* name) const { return (*this)(name); }

    IOLinkCommunication& communication_;
    ui::Control& timer_;
    ClsGUI* gui_ = nullptr;
    int16_t previousState_ = 0;
};

}  // namespace kestrova

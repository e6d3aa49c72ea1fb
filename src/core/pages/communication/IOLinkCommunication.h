// The IO-Link communication panel: switches the port between IO-Link mode at a chosen cycle time
// and SIO mode, and shows target and actual cycle time with two state lamps.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "ui/Control.h"
#include "ui/Services.h"

namespace kestrova {

class ClsGUI;

class IOLinkCommunication : public ui::UserControl {
  public:
    static constexpr ui::Color kGreen = 0x00FF00;
    static constexpr ui::Color kDarkGrey = 0x404040;
    static constexpr ui::Color kLockedBack = 0xE1DAD5;
    // The largest target cycle time the entry accepts, in milliseconds.
    static constexpr double kMaxTargetCycle = 537.0;

    explicit IOLinkCommunication(ui::Services& services, std::string name = "IOLinkCommunication1");

    // With a binding: keeps it and shows its target cycle time. With none: lets go of it.
    void RefreshContents(ClsGUI* gui);
    // Lamps, actual cycle time and which entries the user may use, for a connection state.
    void SetConnectionState(int16_t state, bool readOnly);
    void SetLanguage();

    // Raised with false before a mode change goes to the device and with true after it.
    std::function<void(bool enable)> ChangeTimer;

    int16_t BlinkCounter() const { return blink_; }

  private:
    void TextTargetChange();
    void StartClick();
    void FallbackClick();
    void RaiseChangeTimer(bool enable);
    void ShowTarget();
    ui::Control& C(const char* name) const { return (*this)(name); }

    ui::Services& services_;
    ClsGUI* gui_ = nullptr;
    int16_t blink_ = 0;
    int16_t state_ = 0;  // the state last shown, for the lamp text after a language change
    // Set while the panel itself writes TextTarget, so the echo is not sent back to the device.
    bool showingTarget_ = false;
};

}  // namespace kestrova

// The process data panel: the device's inputs, the outputs read back from the master and an entry
// for new outputs, in decimal, hex or binary, read once or automatically, with the valid flag.
// The panel never polls by itself: its container's timer calls ActualizeProcessData.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "ui/Control.h"
#include "ui/Services.h"

namespace kestrova {

class ClsGUI;

class UCProcessData : public ui::UserControl {
  public:
    // Panel states given to Enable.
    static constexpr int16_t kNoData = 0;
    static constexpr int16_t kReadOnly = 1;
    static constexpr int16_t kReadWrite = 2;
    static constexpr int kMaxBytes = 250;
    static constexpr int32_t kHeight = 3495;  // design-time height, twips

    explicit UCProcessData(ui::Services& services, std::string name = "UCProcessData1");

    void RefreshContents(ClsGUI* gui) { gui_ = gui; }
    // state: kNoData, kReadOnly or kReadWrite; readBlocked while automatic update runs.
    void Enable(int16_t state, bool readBlocked, bool writeAllowed, bool readAllowed);
    // One refresh: fetches the process image and shows what changed. Answers the read's result
    // code (0 when nothing was read).
    int32_t ActualizeProcessData(int16_t value);
    void SetLanguage();

    bool AutoUpdate() const { return autoUpdate_; }
    bool OutputsChanged() const { return outputsChanged_; }
    // Display form of the chosen OptionAnzeige button (0 decimal, 1 hex, 2 binary).
    int Format() const;

    // Raised with true after a read request, a write, a format change and a change of the
    // automatic update; CheckValid raises false before it uses the device and true after.
    std::function<void(bool enable)> ChangeTimer;

  private:
    void WriteOutputs();
    void ValidClick();
    void RaiseChangeTimer(bool enable);
    std::string FormatOutputs();
    void ShowIfChanged(const char* name, const std::string& text);
    ui::Control& C(const char* name, int index = -1) const { return (*this)(name, index); }

    ui::Services& services_;
    ClsGUI* gui_ = nullptr;
    bool outputsChanged_ = false;
    bool autoUpdate_ = true;
    bool redisplayOutputs_ = false;
    int16_t lastEnable_ = kNoData;
    bool settingValid_ = false;  // the panel itself unchecks CheckValid
    // A write waits for the next refresh; only then do outputs go to the device, so a read or a
    // format change never sends outputs the user did not enter.
    bool writePending_ = false;
};

}  // namespace kestrova

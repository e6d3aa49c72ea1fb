// The event panel: the IO-Link events of the device and the master as a list of at most 100
// rows, with "Clear Events" and "Save Events" (to a ";"-separated text file).
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "ui/Control.h"
#include "ui/Services.h"

namespace kestrova {

class ClsGUI;
class ClsDevice;
class ClsEvent;

class UCEventData : public ui::UserControl {
  public:
    static constexpr size_t kMaxRows = 100;
    // Lowest the panel gets: both buttons and the margin below them.
    static constexpr int32_t kMinHeight = 1245;
    static constexpr const char* kDefaultFile = "EventLog.txt";
    static constexpr const char* kFilter = "*.txt";
    static constexpr const char* kFileHeader = "Number;Instance;Mode;EventCode;HexValues";

    explicit UCEventData(ui::Services& services, std::string name = "UCEventData1");

    // Keeps the binding and shows every event the device proxy holds; none lets go of it.
    void RefreshContents(ClsGUI* gui);
    // Takes at most maxEvents new events from the master and lists them.
    void ActualizeEvents(ClsDevice& device, int maxEvents);
    void SetLanguage();

    // Saves the held events to path; on failure tells the user and answers false.
    bool SaveTo(const std::string& path);

    // Raised with false before "Clear Events" uses the device and with true after it, and with
    // true after "Save Events".
    std::function<void(bool enable)> ChangeTimer;

  protected:
    void OnResize() override;

  private:
    void Refill();
    void AddRow(const ClsEvent& event);
    bool Shown(const ClsEvent& event) const;
    void ClearClick();
    void SaveClick();
    void RaiseChangeTimer(bool enable);
    std::string FileLine(const ClsEvent& event) const;
    ui::Control& C(const char* name) const { return (*this)(name); }

    ui::Services& services_;
    ClsGUI* gui_ = nullptr;
    // Running number of the newest event listed, so that events the device proxy took in for
    // another page meanwhile are listed too.
    int64_t newestListed_ = -1;
    // The device's cleared mark the list was filled with: a clear on the other page refills it.
    int64_t clearedSeen_ = -1;
};

}  // namespace kestrova

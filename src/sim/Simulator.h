// The simulated IO-Link USB master with a device behind it: the default business object of
// every host, so the product runs, demonstrates and tests without hardware.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "link/BusinessObject.h"
#include "link/IGuiBridge.h"
#include "ui/Services.h"

namespace kestrova::sim {

struct Options {
    std::string profile = "sensor";  // device behind the port
    std::string product = "7c31";    // product id of the master plugged at start ("" for none)
    std::string port = "COM3";
    int32_t language = 0;  // Windows locale id; 0 takes it from the environment (LANG)
    // Follow the wall clock: latency really sleeps and, without a clock of the caller's, time
    // moves by itself. Otherwise latency advances the simulator's own time instead.
    bool realtime = false;
};

class Simulator : public IGuiBridge {
  public:
    // clock answers the current time in milliseconds; without one the simulator keeps its own
    // clock, moved only by "advance".
    explicit Simulator(Options options = {}, std::function<int64_t()> clock = {});
    ~Simulator() override;

    void RegisterGui(const std::string& progId, const std::string& invokeId) override;
    void UnregisterGui(const std::string& invokeId) override;
    void CloseGui(const std::string& invokeId) override;
    Variant SendCommand(const std::string& text) override;
    void SetItem(const std::string& name, const Variant& value) override;
    void NotifyGuiReleased() override;

    // A control line (the REPL's "!" lines without the "!"): "plug 7c32 COM4", "unplug",
    // "event 36000 4 48 192", "fail IOL::Read ERROR:32785 2", "latency 20", "profile actuator",
    // "set Language 1031", "advance 500", "inventory", "log", ... Returns the text to print
    // (possibly several lines, possibly empty); a malformed line throws std::invalid_argument
    // with a one-line message.
    std::string Control(std::string_view line);

    // The USB inventory as the operating system would report it.
    std::vector<ui::InventoryRecord> Inventory() const;
    // The last 10,000 lines written to "LOGGER", oldest first.
    std::vector<std::string> Log() const;
    // Names of the device profiles.
    static std::vector<std::string> Profiles();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// The simulator as a host holds its business object.
BusinessObject AsBusinessObject(std::shared_ptr<Simulator> sim);

}  // namespace kestrova::sim

// The main control on the simulated master for the tick benchmarks, with a business object that
// can replay recorded answers so that what a tick costs is the user interface's own.
#pragma once

#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "HeadlessFrame.h"
#include "HeadlessServices.h"
#include "dtmgui/DTMGUI.h"
#include "sim/Simulator.h"

namespace kestrova::bench {

// Passes every call to the simulator while recording. Replaying, it answers each command with
// the last answer recorded for it and reaches the simulator only for a command never seen. The
// event fetch then answers an event for the first eventsPerTick fetches after each
// connection-state read (one per tick), and "EMPTY:" after them.
class ReplayBridge : public IGuiBridge {
  public:
    explicit ReplayBridge(std::shared_ptr<sim::Simulator> sim) : sim_(std::move(sim)) {}

    void Replay(int eventsPerTick) {
        replaying_ = true;
        eventsPerTick_ = eventsPerTick;
    }
    // Every answer to command passes edit before the control sees it (and before it is kept).
    void Patch(std::string command, std::function<std::string(const std::string&)> edit) {
        patches_[std::move(command)] = std::move(edit);
    }

    void RegisterGui(const std::string& progId, const std::string& invokeId) override {
        if (!replaying_) sim_->RegisterGui(progId, invokeId);
    }
    void UnregisterGui(const std::string& invokeId) override {
        if (!replaying_) sim_->UnregisterGui(invokeId);
    }
    void CloseGui(const std::string& invokeId) override {
        if (!replaying_) sim_->CloseGui(invokeId);
    }
    void NotifyGuiReleased() override {
        if (!replaying_) sim_->NotifyGuiReleased();
    }
    void SetItem(const std::string& name, const Variant& value) override {
        if (!replaying_) sim_->SetItem(name, value);
    }
    Variant SendCommand(const std::string& text) override {
        if (replaying_) {
            if (text == "ConnectionState") eventsLeft_ = eventsPerTick_;
            if (text == "IOL::GetEvent")
                return eventsLeft_-- > 0 ? Variant("OK:1,16656,4,48,192,1,0") : Variant("EMPTY:");
            if (const auto it = answers_.find(text); it != answers_.end()) return it->second;
        }
        Variant answer = sim_->SendCommand(text);
        if (const auto p = patches_.find(text); p != patches_.end())
            answer = p->second(answer.ToText());
        return answers_[text] = answer;
    }

  private:
    std::shared_ptr<sim::Simulator> sim_;
    bool replaying_ = false;
    int eventsPerTick_ = 0, eventsLeft_ = 0;
    std::unordered_map<std::string, Variant> answers_;
    std::map<std::string, std::function<std::string(const std::string&)>> patches_;
};

// What a rig shows and how its business object answers.
struct Setup {
    const char* function = "2";  // FDT function id: 1 configure, 2 expert, 3 about
    const char* node = "K1";     // the tree node clicked once connected
    bool replay = true;          // false: the simulator answers every tick
    bool plugged = true;
    int eventsPerTick = 0;   // replayed events arriving per tick
    bool wideImage = false;  // 32 input bytes instead of the sensor's 4
    int form = 0;            // process data display form (0 decimal .. 2 binary)
};

// A 32-byte input image: the direct parameter page says 32 bytes in, and the image carries them.
inline void WidenImage(ReplayBridge& bridge) {
    bridge.Patch("IOL::GetMode", [](const std::string& a) {
        const size_t p = a.find(" 195 ");  // PD in: 0xC3, 4 bytes -> 0x9F, 32 bytes
        return p == std::string::npos ? a : a.substr(0, p) + " 159 " + a.substr(p + 5);
    });
    bridge.Patch("IOL::TransferImage Data=", [](const std::string& a) {
        if (!a.starts_with("OK:")) return a;
        std::string wide = "OK:1,32";
        for (int i = 0; i < 32; ++i) wide += " " + std::to_string((i * 37) & 255);
        return wide + " 0";
    });
}

class TickRig {
  public:
    explicit TickRig(const Setup& setup)
        : services_([this] { return inventory_; }, [](const std::string&) {}),
          sim_(MakeSimulator()),
          bridge_(std::make_shared<ReplayBridge>(sim_)),
          gui_(services_) {
        inventory_ = sim_->Inventory();
        if (setup.wideImage) WidenImage(*bridge_);
        if (!gui_.Init("bench", headless::FunctionCallXml(setup.function), bridge_))
            throw std::runtime_error("Init failed");
        Run(3000);  // connected and settled
        gui_("TreeMenu").UserNodeClick(setup.node);
        if (setup.form != 0)
            Control("IOLinkData1.UCProcessData1.OptionAnzeige(" + std::to_string(setup.form) + ")")
                .UserClick();
        if (!setup.plugged) {
            sim_->Control("unplug");
            inventory_ = sim_->Inventory();
        }
        Run(3000);  // the page has read what it shows
        if (setup.replay) bridge_->Replay(setup.eventsPerTick);
        for (int i = 0; i < 30; ++i) Tick();  // event lists full, captions settled
    }
    ~TickRig() { gui_.PrepareToRelease(); }

    // Fires the next due timer (and any due with it).
    void Tick() {
        ui::VirtualClock& clock = services_.Clock();
        const int64_t due = ui::NextDue(gui_);
        if (due < 0) throw std::runtime_error("no timer armed");
        ui::AdvanceClock(gui_, clock, due);
    }
    void Run(int64_t ms) {
        ui::VirtualClock& clock = services_.Clock();
        ui::AdvanceClock(gui_, clock, clock.NowMs() + ms);
    }
    ui::Control& Control(const std::string& path) {
        ui::Control* c = gui_.Resolve(path);
        if (!c) throw std::runtime_error("no control " + path);
        return *c;
    }
    headless::HeadlessServices& Services() { return services_; }
    std::shared_ptr<ReplayBridge> Bridge() { return bridge_; }
    DTMGUI& Gui() { return gui_; }

  private:
    std::shared_ptr<sim::Simulator> MakeSimulator() {
        sim::Options options;
        options.language = 1033;
        ui::VirtualClock* clock = &services_.Clock();
        return std::make_shared<sim::Simulator>(options, [clock] { return clock->NowMs(); });
    }

    std::vector<ui::InventoryRecord> inventory_;
    headless::HeadlessServices services_;
    std::shared_ptr<sim::Simulator> sim_;
    std::shared_ptr<ReplayBridge> bridge_;
    DTMGUI gui_;
};

// The rigs the benchmarks and the instruction counts share, by name.
inline const std::vector<std::pair<const char*, Setup>>& NamedSetups() {
    static const std::vector<std::pair<const char*, Setup>> setups = {
        {"General", {.function = "1", .node = "K1"}},
        {"DeviceInfo", {.node = "K2"}},
        {"Data", {.node = "K3"}},
        {"Parameter", {.node = "K4"}},
        {"About", {.function = "3", .node = "K5"}},
        {"DataWorst", {.node = "K3", .eventsPerTick = 5, .wideImage = true, .form = 2}},
    };
    return setups;
}

// CPU time of this thread in nanoseconds: steadier than wall time on a busy machine.
inline int64_t ThreadNs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

}  // namespace kestrova::bench

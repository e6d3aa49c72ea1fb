// The scripted frame as a fuzz and soak harness: the main control hosted so that an error
// escaping one of its entry points, user inputs or timer ticks ends the run, instead of being
// reported on a line and passed over as the frame does for people writing scripts.
#pragma once

#include <exception>
#include <memory>
#include <string>

#include "FuzzBridge.h"
#include "HeadlessFrame.h"
#include "HeadlessServices.h"
#include "ui/Control.h"

namespace kestrova::fuzz {

template <class Call>
auto MustNotRaise(const std::string& what, Call&& call) {
    try {
        return call();
    } catch (const std::exception& e) {
        Fail(what + " let an error escape: " + e.what());
    } catch (...) {
        Fail(what + " let an unknown error escape");
    }
}

// The main control; Init gets the given business object instead of the frame's when one is set.
class GuardedControl : public headless::HostedControl {
  public:
    GuardedControl(ui::Services& services, std::shared_ptr<IGuiBridge> dtm)
        : inner_(headless::MakeMainControl(services)), dtm_(std::move(dtm)) {}
    ui::Control& Root() override { return inner_->Root(); }
    bool Init(const std::string& invokeId, const std::string& functionCall,
              std::shared_ptr<IGuiBridge> dtm) override {
        return MustNotRaise("Init", [&] {
            return inner_->Init(invokeId, functionCall, dtm_ ? dtm_ : std::move(dtm));
        });
    }
    bool PrepareToRelease() override {
        return MustNotRaise("PrepareToRelease", [&] { return inner_->PrepareToRelease(); });
    }

  private:
    std::unique_ptr<headless::HostedControl> inner_;
    std::shared_ptr<IGuiBridge> dtm_;
};

// User input straight into the control model; a handler that lets an error escape ends the run.
class GuardedInput : public headless::InputDriver {
  public:
    void Click(ui::Control& c) override {
        MustNotRaise("click " + c.Name(), [&] { c.UserClick(); });
    }
    void NodeClick(ui::Control& tree, const std::string& key) override {
        MustNotRaise("node " + key, [&] { tree.UserNodeClick(key); });
    }
    void Type(ui::Control& c, const std::string& text) override {
        MustNotRaise("type into " + c.Name(), [&] { c.UserType(text); });
    }
    void Key(ui::Control& c, int16_t code) override {
        MustNotRaise("key " + std::to_string(code) + " on " + c.Name(), [&] { c.UserKey(code); });
    }
    void Pick(ui::Control& c, int index) override {
        MustNotRaise("pick on " + c.Name(), [&] { c.UserPick(index); });
    }
    void Resize(ui::Control& root, int32_t width, int32_t height) override {
        MustNotRaise("resize", [&] { root.Move(0, 0, width, height); });
    }
};

inline headless::FrameOptions GuardedFrame(std::shared_ptr<IGuiBridge> dtm = nullptr) {
    headless::FrameOptions options;
    options.host = [dtm](ui::Services& services) {
        return std::make_unique<GuardedControl>(services, dtm);
    };
    options.input = std::make_shared<GuardedInput>();
    return options;
}

// Moves the frame's virtual time on by ms; a timer tick that lets an error escape ends the run.
inline void GuardedTick(headless::HeadlessFrame& frame, int64_t ms) {
    ui::VirtualClock& clock = frame.Services().Clock();
    const int64_t target = clock.NowMs() + ms;
    if (ui::Control* root = frame.Root())
        MustNotRaise("a timer tick", [&] { ui::AdvanceClock(*root, clock, target); });
    if (clock.NowMs() < target) clock.Set(target);
}

}  // namespace kestrova::fuzz

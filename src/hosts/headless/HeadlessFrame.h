// The scripted frame: plays the FDT frame application around the main control, driven by a
// script of one command per line (docs/headless.md has the language). The business object (the
// simulated master unless another is given) is there from the first line; "init" creates the
// control and calls Init with it. Time is virtual
// and moves only with "tick", for the control's timers and the simulator alike.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "link/BusinessObject.h"
#include "link/IGuiBridge.h"
#include "ui/Control.h"
#include "ui/Services.h"

namespace kestrova::headless {

class HeadlessServices;
class RecordingBridge;

// The control the frame hosts, seen as the FDT frame sees it.
class HostedControl {
  public:
    virtual ~HostedControl() = default;
    virtual ui::Control& Root() = 0;
    virtual bool Init(const std::string& invokeId, const std::string& functionCall,
                      std::shared_ptr<IGuiBridge> dtm) = 0;
    virtual bool PrepareToRelease() = 0;
};
using HostFactory = std::function<std::unique_ptr<HostedControl>(ui::Services&)>;

// The main control DTMGUI.
std::unique_ptr<HostedControl> MakeMainControl(ui::Services& services);

// The function-call text "init" hands to Init.
std::string FunctionCallXml(std::string_view functionId);

// How the script's user input reaches the control. This one drives the control model directly;
// a host with a screen derives from it to send the input to its native windows instead, so its
// renderer is under test as well. The frame has checked that the target is reachable.
class InputDriver {
  public:
    virtual ~InputDriver() = default;
    // The control was created (Init comes next) or is about to go away.
    virtual void Attach(ui::Control& root) { (void)root; }
    virtual void Detach() {}
    virtual void Click(ui::Control& c) { c.UserClick(); }
    virtual void NodeClick(ui::Control& tree, const std::string& key) { tree.UserNodeClick(key); }
    virtual void Type(ui::Control& c, const std::string& text) { c.UserType(text); }
    virtual void Key(ui::Control& c, int16_t code) { c.UserKey(code); }
    virtual void Pick(ui::Control& c, int index) { c.UserPick(index); }
    // The frame gives the control a new size in twips.
    virtual void Resize(ui::Control& root, int32_t width, int32_t height) {
        root.Move(0, 0, width, height);
    }
    // After every script line: lets a screen catch up with the model.
    virtual void Settle() {}
};

// Makes the business object the frame hands to Init, on the frame's clock.
using BusinessFactory = std::function<BusinessObject(ui::VirtualClock& clock)>;

struct FrameOptions {
    bool echo = false;        // print each script line before its output
    int32_t language = 1033;  // the built-in simulator's Language item at start
    HostFactory host = MakeMainControl;
    std::shared_ptr<InputDriver> input;  // null: the control model directly
    BusinessFactory business;            // none: the built-in simulator
};

class HeadlessFrame {
  public:
    explicit HeadlessFrame(std::ostream& out, FrameOptions options = {});
    ~HeadlessFrame();
    HeadlessFrame(const HeadlessFrame&) = delete;
    HeadlessFrame& operator=(const HeadlessFrame&) = delete;

    // Runs one script line (numbered for error lines); false when it printed an error.
    bool Execute(std::string_view line, int lineNumber);
    // Runs a script to its end; returns the number of failed lines.
    int Run(std::istream& script);
    int Failures() const { return failures_; }

    HeadlessServices& Services() { return *services_; }
    // The hosted control's root, or null before "init".
    ui::Control* Root();

  private:
    struct Command;
    void Dispatch(const std::string& name, std::string_view args);
    ui::Control& Target(std::string_view path);
    ui::Control& Reachable(std::string_view path);
    ui::Control& RootOrFail();
    void Tick(int64_t ms);
    void Fail(const std::string& message);
    void Print(const std::string& line);
    std::string PendingTraffic() const;
    std::string PendingMessages() const;

    // Commands.
    void CmdInit(std::string_view args);
    void CmdInitRaw(std::string_view args);
    void CmdRelease(std::string_view args);
    void CmdTick(std::string_view args);
    void CmdClick(std::string_view args);
    void CmdNode(std::string_view args);
    void CmdType(std::string_view args);
    void CmdKey(std::string_view args);
    void CmdKeys(std::string_view args);
    void CmdPick(std::string_view args);
    void CmdResize(std::string_view args);
    void CmdGet(std::string_view args);
    void CmdDump(std::string_view args);
    void CmdSim(std::string_view args);
    void CmdTraffic(std::string_view args);
    void CmdMessages(std::string_view args);
    void CmdAnswerSave(std::string_view args);
    void CmdAnswerMessage(std::string_view args);
    void CmdPdfApp(std::string_view args);
    void CmdProgramDir(std::string_view args);
    void CmdStartResult(std::string_view args);
    void CmdExpect(std::string_view args);
    void CmdExpectTraffic(std::string_view args);
    void CmdExpectNoTraffic(std::string_view args);
    void CmdExpectMessage(std::string_view args);
    void CmdExpectNoMessage(std::string_view args);
    void StartControl(const std::string& functionCall);
    std::string BusinessControl(std::string_view line);
    void StopControl();

    std::ostream& out_;
    FrameOptions options_;
    std::unique_ptr<HeadlessServices> services_;
    BusinessObject business_;
    std::shared_ptr<RecordingBridge> bridge_;
    std::unique_ptr<HostedControl> hosted_;
    std::shared_ptr<InputDriver> input_;
    int inits_ = 0;
    int line_ = 0;
    bool lineFailed_ = false;
    int failures_ = 0;
};

}  // namespace kestrova::headless

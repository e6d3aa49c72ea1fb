// Test rig for the pages: host services that record message boxes and answer the save dialog
// from a script, a virtual clock, and a binding to a recording business object that answers
// like a master with one device in IO-Link mode.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "link/ClsGUI.h"
#include "link/EventCatalogue.h"
#include "link/testing/FakeBridge.h"
#include "ui/Services.h"

namespace kestrova::testing {

inline constexpr const char* kRead16 = "IOL::Read Index=16 SubIndex=0";

class RecordingServices : public ui::Services {
  public:
    int MsgBox(const std::string& text, int, const std::string&) override {
        Messages.push_back(text);
        return ui::msgbox::AnswerOk;
    }
    std::string ShowSave(const std::string& filter, const std::string& defaultName) override {
        SaveDialogs.push_back(filter + " " + defaultName);
        return std::exchange(SaveAnswer, {});
    }
    std::string OpenCommand(const std::string&) override { return {}; }
    bool StartDocument(const std::string&, const std::string&) override { return false; }
    std::string ProgramDirectory() override { return {}; }
    std::vector<ui::InventoryRecord> UsbInventory() override { return {}; }
    ui::Clock& GetClock() override { return Clock; }

    ui::VirtualClock Clock;
    std::vector<std::string> Messages;
    std::string SaveAnswer;  // the path the next save dialog answers; empty: cancelled
    std::vector<std::string> SaveDialogs;
};

// The answer to IOL::GetMode: the direct parameter page of a typical sensor, cycle time code 73
// (10 ms), minimum 23 (2.3 ms), revision 0x11, the length bytes given (2 input bytes, 1 output
// byte), vendor 0x012C, device 0x000105, function 0x0001; baud-rate code 2.
inline std::string ModeAnswer(int inLength = 0x81, int outLength = 0x80) {
    std::string answer = "OK:0,";
    for (int b : {0, 73, 23, 0, 0x11, inLength, outLength, 1, 0x2C, 0, 1, 5, 0, 1, 0, 0})
        answer += std::to_string(b) + " ";
    return answer + "0,2,0";
}

// A binding to a FakeBridge with the event texts registered, the given state word answered
// and a sensor behind the port: outputs read back 0x05, inputs 0x01 0xAB, names "ACME", "P1"
// and one not supported.
struct Rig {
    explicit Rig(const std::string& state = "ONLINE+,TRUE") {
        bridge->Answer("DTMDate", "2009-03-05");
        bridge->Answer("DTMVersion", "1.0.0");
        gui.SetDtm(bridge);
        gui.Language = kEnglish;
        IolInitEventTable(gui);
        SetState(state);
        bridge->Answer("IOL::GetMode", ModeAnswer());
        bridge->Answer("IOL::GetEvent", "EMPTY:");
        bridge->Answer("IOL::ReadOutputImage", "OK:0,1 5");
        bridge->Answer("IOL::TransferImage Data=", "OK:0,2 1 171 0");
        bridge->Answer(kRead16, "OK:4 65 67 77 69");
        bridge->Answer("IOL::Read Index=18 SubIndex=0", "OK:2 80 49");
        bridge->Answer("IOL::Read Index=20 SubIndex=0", "ERROR:32785");
        bridge->ClearLog();
    }
    // Answers the state word and lets the binding take it in.
    void SetState(const std::string& state) {
        bridge->Answer("ConnectionState", state);
        gui.CheckOnlineState();
    }
    // Queues one event record for IOL::GetEvent.
    void QueueEvent(int32_t code, int32_t instance = 4, int32_t type = 48, int32_t mode = 192) {
        bridge->Queue("IOL::GetEvent", "OK:1," + std::to_string(code) + "," +
                                           std::to_string(instance) + "," + std::to_string(type) +
                                           "," + std::to_string(mode) + ",0,0");
    }

    std::shared_ptr<FakeBridge> bridge = std::make_shared<FakeBridge>();
    ClsGUI gui;
    RecordingServices services;
};

// A panel bound to the rig, captions set. Its events are written down as "F" and "T" (false,
// true), the parameter panel's with the reason code after it ("T2").
template <class Panel>
struct PanelRig : Rig {
    explicit PanelRig(const std::string& state = "ONLINE+,TRUE") : Rig(state) {
        panel.RefreshContents(&gui);
        panel.SetLanguage();
        panel.ChangeTimer = [this](bool enable, auto... reason) {
            events += enable ? "T" : "F";
            ((events += std::to_string(reason)), ...);
        };
        bridge->ClearLog();
    }
    ui::Control& C(const char* name, int index = -1) { return panel(name, index); }

    Panel panel{services};
    std::string events;
};

// A page shown and bound to the rig. The frame events are written down in order: "A"/"a" for
// the third event (true/false), "C<state>"/"c<state>" for the plug check with/without force.
template <class Page>
struct PageRig : Rig {
    explicit PageRig(const std::string& state = "ONLINE+,TRUE") : Rig(state) {
        page.SetVisible(false);
        page.SetVisible(true);  // shown: the first tick comes at once
        page.CheckProduct = [this](bool force, int32_t s, bool) {
            frame += (force ? "C" : "c") + std::to_string(s) + " ";
        };
        page.Activity = [this](bool value) { frame += value ? "A " : "a "; };
        page.RefreshContents(&gui);
        bridge->ClearLog();
    }
    void Run(int64_t ms) { ui::AdvanceClock(page, services.Clock, services.Clock.NowMs() + ms); }
    ui::Control& Timer() { return page("Timer1"); }
    bool DueAtOnce() { return Timer().DueAt() == services.Clock.NowMs() + 1; }

    Page page{services};
    std::string frame;
};

}  // namespace kestrova::testing

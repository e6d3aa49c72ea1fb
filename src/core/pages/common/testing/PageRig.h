// Test rig for the pages: host services that record message boxes and answer the save dialog
// from a script, a virtual clock, and a binding to a recording business object that answers
// like a master with one device in IO-Link mode.
#pragma once

#include <array>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "link/ClsGUI.h"
#include "link/EventCatalogue.h"
#include "link/testing/FakeBridge.h"
#include "tools/Vb.h"
#include "ui/Services.h"

namespace kestrova::testing {

class RecordingServices : public ui::Services {
  public:
    struct Message {
        std::string Text;
        int Style;
    };

    int MsgBox(const std::string& text, int style, const std::string&) override {
        Messages.push_back({text, style});
        return ui::msgbox::AnswerOk;
    }
    std::string ShowSave(const std::string& filter, const std::string& defaultName) override {
        SaveDialogs.emplace_back(filter, defaultName);
        if (SaveAnswers.empty()) return {};
        std::string answer = SaveAnswers.front();
        SaveAnswers.pop_front();
        return answer;
    }
    std::string OpenCommand(const std::string&) override { return {}; }
    bool StartDocument(const std::string&, const std::string&) override { return false; }
    std::string ProgramDirectory() override { return {}; }
    std::vector<ui::InventoryRecord> UsbInventory() override { return {}; }
    ui::Clock& GetClock() override { return Clock; }

    ui::VirtualClock Clock;
    std::vector<Message> Messages;
    std::deque<std::string> SaveAnswers;
    std::vector<std::pair<std::string, std::string>> SaveDialogs;
};

// The direct parameter page of a typical sensor: cycle time code 73 (10 ms), minimum 23
// (2.3 ms), revision 0x11, 2 input bytes, 1 output byte, vendor 0x012C, device 0x000105,
// function 0x0001.
inline std::array<int, 16> SensorPage() {
    return {0, 73, 23, 0, 0x11, 0x81, 0x80, 0x01, 0x2C, 0x00, 0x01, 0x05, 0x00, 0x01, 0, 0};
}

// The answer to IOL::GetMode for a page and a baud-rate code.
inline std::string ModeAnswer(const std::array<int, 16>& page, int baud = 2) {
    std::string answer = "OK:0,";
    for (int b : page) answer += std::to_string(b) + " ";
    return answer + "0," + std::to_string(baud) + ",0";
}

// A binding to a FakeBridge with the event texts registered, the given state word answered
// and a sensor behind the port.
struct Rig {
    explicit Rig(const std::string& state = "ONLINE+,TRUE", int16_t language = kEnglish) {
        bridge->Answer("DTMDate", "2009-03-05");
        bridge->Answer("DTMVersion", "1.0.0");
        gui.SetDtm(bridge);
        gui.Language = language;
        IolInitEventTable(gui);
        SetState(state);
        bridge->Answer("IOL::GetMode", ModeAnswer(SensorPage()));
        bridge->Answer("IOL::GetEvent", "EMPTY:");
        bridge->ClearLog();
    }
    // Answers the state word and lets the binding take it in.
    void SetState(const std::string& state) {
        bridge->Answer("ConnectionState", state);
        gui.CheckOnlineState();
    }
    // Answers a command with success.
    void Ok(const std::string& command) { bridge->Answer(command, "OK:"); }
    // Queues one event record for IOL::GetEvent.
    void QueueEvent(int32_t code, int32_t instance = 4, int32_t type = 48, int32_t mode = 192) {
        bridge->Queue("IOL::GetEvent", "OK:1," + std::to_string(code) + "," +
                                           std::to_string(instance) + "," + std::to_string(type) +
                                           "," + std::to_string(mode) + ",0,0");
    }

    std::shared_ptr<FakeBridge> bridge = std::make_shared<FakeBridge>();
    ClsGUI gui;
};

}  // namespace kestrova::testing

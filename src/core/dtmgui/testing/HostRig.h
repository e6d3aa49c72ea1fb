// Test host for the main control and its pages: services with a virtual clock, recorded message
// boxes and program starts, a USB inventory the test sets (or makes fail), and a fake business
// object answering what every page asks at start.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "link/ClsGUI.h"
#include "link/testing/FakeBridge.h"
#include "tools/Vb.h"
#include "ui/Services.h"

namespace kestrova::testing {

class HostServices : public ui::Services {
  public:
    using Message = std::tuple<std::string, int, std::string>;  // text, style, title

    int MsgBox(const std::string& text, int style, const std::string& title) override {
        Messages.push_back({text, style, title});
        return ui::msgbox::AnswerOk;
    }
    std::string ShowSave(const std::string&, const std::string&) override { return {}; }
    std::string OpenCommand(const std::string& extension) override {
        OpenCommandAsked.push_back(extension);
        if (OpenCommandFails) Raise(vberr::FileNotFound, "no association table");
        return PdfApplication;
    }
    bool StartDocument(const std::string& application, const std::string& document) override {
        Starts.push_back(application + " " + document);
        return true;
    }
    std::string ProgramDirectory() override { return "/opt/kestrova"; }
    std::vector<ui::InventoryRecord> UsbInventory() override {
        ++InventoryReads;
        if (InventoryFails) Raise(vberr::PathNotFound, "inventory not available");
        return Inventory;
    }
    ui::Clock& GetClock() override { return Clock; }

    // A master as the inventory shows it.
    void Plug(const std::string& pid, const std::string& port,
              const std::string& name = "IO-Link USB Master") {
        Inventory.push_back(
            {"USB\\VID_0403&PID_" + UCase(pid) + "\\SN" + port, name + " (" + port + ")"});
    }

    ui::VirtualClock Clock;
    std::vector<Message> Messages;
    std::vector<std::string> Starts, OpenCommandAsked;
    std::vector<ui::InventoryRecord> Inventory;
    std::string PdfApplication = "/usr/bin/evince";
    bool OpenCommandFails = false, InventoryFails = false;
    int InventoryReads = 0;
};

// The host and an offline business object on COM3 with an English DTM of 5 March 2009.
class HostFixture : public ::testing::Test {
  protected:
    void Fresh() {
        services = HostServices{};
        bridge = std::make_shared<FakeBridge>();
        bridge->Answer("DTMDate", "2009-03-05");
        bridge->Answer("DTMVersion", "2.1.0 R&D");
        bridge->Answer("Language", 1033);
        bridge->Answer("USBDevice", "COM3");
        bridge->Answer("IOL::Connect", "TRUE");
        bridge->Answer("ConnectionState", "OFFLINE,FALSE");
        bridge->Answer("IOL::GetEvent", "EMPTY:");
        bridge->Answer("USBRevision", "1.4");
    }
    // The trace lines written to the business object.
    std::vector<std::string> Log() const { return bridge->ItemsSet("LOGGER"); }
    int Logged(const std::string& line) const {
        const auto log = Log();
        return static_cast<int>(std::count(log.begin(), log.end(), line));
    }

    HostServices services;
    std::shared_ptr<FakeBridge> bridge;
};

// One plug check raised by a page: force, state, present.
using Raised = std::tuple<bool, int32_t, bool>;

// A page bound to its own binding, as the main control would bind it, with the plug checks it
// raises recorded.
template <class P>
class PageFixture : public HostFixture {
  protected:
    void SetUp() override { Reset(); }
    // Also used to start afresh inside a table-driven test.
    void Reset(int16_t language = kEnglish) {
        page.reset();
        Fresh();
        gui = std::make_unique<ClsGUI>();
        gui->SetDtm(bridge);
        gui->Language = language;
        raised.clear();
        onCheck = nullptr;
        page = std::make_unique<P>(services);
        page->CheckProduct = [this](bool force, int32_t state, bool present) {
            raised.push_back({force, state, present});
            if (onCheck) onCheck();
        };
    }
    void Start() { page->RefreshContents(gui.get()); }
    void Ticks(int n = 1) {
        ui::AdvanceClock(*page, services.Clock, services.Clock.NowMs() + n * P::kInterval);
    }
    ui::Control& C(const char* name) { return (*page)(name); }

    std::unique_ptr<ClsGUI> gui;
    std::unique_ptr<P> page;
    std::vector<Raised> raised;
    std::function<void()> onCheck;  // runs inside the frame's plug check
};

}  // namespace kestrova::testing

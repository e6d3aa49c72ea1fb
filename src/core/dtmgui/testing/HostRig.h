// Test host for the main control and its pages: services with a virtual clock, recorded message
// boxes and program starts, and a USB inventory the test sets (or makes fail).
#pragma once

#include <string>
#include <vector>

#include "tools/Vb.h"
#include "ui/Services.h"

namespace kestrova::testing {

class HostServices : public ui::Services {
  public:
    struct Message {
        std::string Text;
        int Style;
        std::string Title;
        bool operator==(const Message&) const = default;
    };
    struct Start {
        std::string Application;
        std::string Document;
        bool operator==(const Start&) const = default;
    };

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
        Starts.push_back({application, document});
        return StartSucceeds;
    }
    std::string ProgramDirectory() override { return "/opt/kestrova"; }
    std::vector<ui::InventoryRecord> UsbInventory() override {
        ++InventoryReads;
        if (InventoryFails) Raise(vberr::PathNotFound, "inventory not available");
        return Inventory;
    }
    ui::Clock& GetClock() override { return Clock; }

    // A supported or unknown master as the inventory shows it.
    void Plug(const std::string& pid, const std::string& port,
              const std::string& name = "IO-Link USB Master") {
        Inventory.push_back(
            {"USB\\VID_0403&PID_" + UCase(pid) + "\\SN" + port, name + " (" + port + ")"});
    }
    void UnplugAll() { Inventory.clear(); }

    ui::VirtualClock Clock;
    std::vector<Message> Messages;
    std::vector<Start> Starts;
    std::vector<std::string> OpenCommandAsked;
    std::vector<ui::InventoryRecord> Inventory;
    std::string PdfApplication = "/usr/bin/evince";
    bool OpenCommandFails = false;
    bool StartSucceeds = true;
    bool InventoryFails = false;
    int InventoryReads = 0;
};

}  // namespace kestrova::testing

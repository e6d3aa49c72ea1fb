// The control's services on Windows: message boxes, the save dialog, the registered PDF
// application and its start, the program folder, the USB inventory through WMI and the clock.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "WmiInventory.h"
#include "ui/Services.h"

namespace kestrova::win {

// Milliseconds since system start.
class TickClock : public ui::Clock {
  public:
    int64_t NowMs() const override { return static_cast<int64_t>(GetTickCount64()); }
};

class WindowsServices : public ui::Services {
  public:
    using MessageBoxFn =
        std::function<int(const std::string& text, int style, const std::string& title)>;
    using InventoryFn = std::function<std::vector<ui::InventoryRecord>()>;

    WindowsServices();

    int MsgBox(const std::string& text, int style, const std::string& title) override;
    std::string ShowSave(const std::string& filter, const std::string& defaultName) override;
    std::string OpenCommand(const std::string& extension) override;
    bool StartDocument(const std::string& application, const std::string& document) override;
    std::string ProgramDirectory() override;
    std::vector<ui::InventoryRecord> UsbInventory() override;
    void RenewInventory() override { wmi_.Renew(); }
    ui::Clock& GetClock() override { return clock_; }

    // The window that owns dialogs and message boxes (none until the control has a window).
    void SetOwner(HWND owner) { owner_ = owner; }
    // Replaces the message box (frames and tests that must not block on one).
    void SetMessageBox(MessageBoxFn fn) { messageBox_ = std::move(fn); }
    // Replaces the WMI inventory.
    void SetInventory(InventoryFn fn) { inventory_ = std::move(fn); }
    // Lets go of the kept WMI objects (before the control's apartment ends).
    void ReleaseInventory() { wmi_ = {}; }

  private:
    HWND owner_ = nullptr;
    MessageBoxFn messageBox_;
    InventoryFn inventory_;
    WmiInventory wmi_;
    TickClock clock_;
};

// The command line that starts an application with a document: the application as registered
// (possibly quoted), one blank, the document in double quotes.
std::string DocumentCommandLine(const std::string& application, const std::string& document);

// The file name a save dialog buffer holds: the text up to its first zero character.
std::string SaveDialogResult(const char* buffer, size_t size);

}  // namespace kestrova::win

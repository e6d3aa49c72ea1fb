// What the host supplies to the control: message boxes, the save dialog, starting a program with
// a document, the application registered for a file type, the USB inventory and the clock.
#pragma once

#include <string>
#include <vector>

#include "ui/Control.h"

namespace kestrova::ui {

// Message box styles and answers, numbered as the original runtime numbers them.
namespace msgbox {
inline constexpr int OkOnly = 0;
inline constexpr int OkCancel = 1;
inline constexpr int YesNo = 4;
inline constexpr int Critical = 16;
inline constexpr int Exclamation = 48;
inline constexpr int Information = 64;
inline constexpr int AnswerOk = 1;
inline constexpr int AnswerCancel = 2;
inline constexpr int AnswerYes = 6;
inline constexpr int AnswerNo = 7;
}  // namespace msgbox

// One record of the operating system's device inventory, shaped as the PnP entity records are:
// DeviceID like "USB\VID_0403&PID_7C31\A1B2C3" and Name like "IO-Link USB Master (COM3)".
struct InventoryRecord {
    std::string DeviceID;
    std::string Name;
};

class Services {
  public:
    virtual ~Services() = default;
    // Shows a message box; returns the answer (msgbox::Answer*).
    virtual int MsgBox(const std::string& text, int style, const std::string& title) = 0;
    // Save dialog with a filter ("*.txt") and a default file name; empty text when cancelled.
    virtual std::string ShowSave(const std::string& filter, const std::string& defaultName) = 0;
    // The same dialog titled with the page's own text; hosts that cannot title it show the plain
    // one.
    virtual std::string ShowSaveAs(const std::string& filter, const std::string& defaultName,
                                   const std::string& title) {
        (void)title;
        return ShowSave(filter, defaultName);
    }
    // The application registered to open files of the extension (".PDF"); may raise VbError
    // when the lookup fails, answers empty text when nothing is registered.
    virtual std::string OpenCommand(const std::string& extension) = 0;
    // Starts the application with the document, in a normal window with focus; false when it
    // could not be started.
    virtual bool StartDocument(const std::string& application, const std::string& document) = 0;
    // The directory of the control's program file (data sheets live in its "Manual" folder).
    virtual std::string ProgramDirectory() = 0;
    // The USB inventory; may raise VbError when the inventory cannot be read.
    virtual std::vector<InventoryRecord> UsbInventory() = 0;
    // Lets go of an inventory kept between reads, so the next read fetches it anew; the full
    // master listing does this at its end. Hosts that read afresh each time need nothing.
    virtual void RenewInventory() {}
    // The clock that drives the control's timers.
    virtual Clock& GetClock() = 0;
};

}  // namespace kestrova::ui

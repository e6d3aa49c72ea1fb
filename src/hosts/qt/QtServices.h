// The host services with Qt and the desktop: message boxes, the save dialog, the PDF
// application, the program directory, the USB inventory and a steady clock.
#pragma once

#include <QMessageBox>
#include <QPointer>
#include <QString>
#include <functional>
#include <string>
#include <vector>

#include "SteadyClock.h"
#include "ui/Services.h"

class QWidget;

namespace kestrova::qt {

// How a message box style (button set in the low bits, icon in bits 4 to 6) looks in Qt, and
// which answer a pressed button gives.
QMessageBox::StandardButtons MsgBoxButtons(int style);
QMessageBox::StandardButton MsgBoxDefault(int style);
QMessageBox::Icon MsgBoxIcon(int style);
int MsgBoxAnswer(QMessageBox::StandardButton button);

// A save dialog filter as Qt writes it: "*.txt" becomes "Text files (*.txt)" ("Textdateien" in
// German); the "description|pattern|..." form becomes "description (pattern);;...". All files
// are always offered last.
QString SaveFilter(const std::string& filter, bool german = false);
// The extension the dialog appends when the user types none ("txt" for "*.txt").
QString DefaultSuffix(const std::string& filter);

class QtServices : public ui::Services {
  public:
    using InventorySource = std::function<std::vector<ui::InventoryRecord>()>;
    explicit QtServices(InventorySource inventory);

    // The window dialogs belong to.
    void SetParentWindow(QWidget* window) { parent_ = window; }
    // The control's locale (1031 German, else English): the dialogs' own texts follow it.
    void SetLanguage(int locale) { language_ = locale; }

    int MsgBox(const std::string& text, int style, const std::string& title) override;
    std::string ShowSave(const std::string& filter, const std::string& defaultName) override;
    std::string ShowSaveAs(const std::string& filter, const std::string& defaultName,
                           const std::string& title) override;
    std::string OpenCommand(const std::string& extension) override;
    bool StartDocument(const std::string& application, const std::string& document) override;
    std::string ProgramDirectory() override;
    std::vector<ui::InventoryRecord> UsbInventory() override;
    ui::Clock& GetClock() override { return clock_; }

    // When set, message boxes are answered by this instead of a dialog (unattended runs:
    // screenshots and tests). The save dialog then answers "cancelled".
    std::function<int(const std::string& text, int style, const std::string& title)> Unattended;

  private:
    InventorySource inventory_;
    static constexpr int kGermanLocale = 1031;
    QPointer<QWidget> parent_;
    int language_ = 0;
    SteadyClock clock_;
};

}  // namespace kestrova::qt

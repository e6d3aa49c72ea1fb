// Host services of the scripted frame: nothing is shown and nothing is started. Message boxes
// are recorded and answered from a queue (OK or Yes by default), save dialogs are answered from
// a queue (cancel by default), programs "start" by being reported, and time is virtual.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "ui/Services.h"

namespace kestrova::headless {

struct MessageRecord {
    std::string Text;
    std::string Title;
    int Style = 0;
    int Answer = 0;
};

// The message as one JSON object: {"text":..,"title":..,"buttons":..,"icon":..,"answer":..}.
std::string MessageJson(const MessageRecord& message);
// Button set, icon and answer names as the JSON shows them ("YesNo", "Critical", "Yes").
const char* ButtonsName(int style);
const char* IconName(int style);
const char* AnswerName(int answer);
// "ok", "Yes", "cancel"... to the answer number; 0 when the name is unknown.
int AnswerNumber(const std::string& name);

class HeadlessServices : public ui::Services {
  public:
    using Inventory = std::function<std::vector<ui::InventoryRecord>()>;
    using Note = std::function<void(const std::string&)>;

    // inventory answers UsbInventory; note receives lines the frame prints at once
    // ("started APP DOC", notes about unanswered dialogs).
    HeadlessServices(Inventory inventory, Note note);

    int MsgBox(const std::string& text, int style, const std::string& title) override;
    std::string ShowSave(const std::string& filter, const std::string& defaultName) override;
    std::string OpenCommand(const std::string& extension) override;
    bool StartDocument(const std::string& application, const std::string& document) override;
    std::string ProgramDirectory() override { return programDirectory_; }
    std::vector<ui::InventoryRecord> UsbInventory() override { return inventory_(); }
    ui::Clock& GetClock() override { return clock_; }

    ui::VirtualClock& Clock() { return clock_; }

    // The next save dialog answers this file; empty text answers cancel.
    void QueueSaveAnswer(std::string path) { saveAnswers_.push_back(std::move(path)); }
    // The next message box answers this (msgbox::Answer*).
    void QueueMessageAnswer(int answer) { messageAnswers_.push_back(answer); }
    // The application registered for PDF files; empty for none.
    void SetPdfApplication(std::string application) { pdfApplication_ = std::move(application); }
    void SetProgramDirectory(std::string directory) { programDirectory_ = std::move(directory); }
    // Whether starting a document succeeds.
    void SetStartSucceeds(bool succeeds) { startSucceeds_ = succeeds; }

    // Message boxes shown since the last TakeMessages.
    const std::vector<MessageRecord>& Messages() const { return messages_; }
    std::vector<MessageRecord> TakeMessages();

  private:
    Inventory inventory_;
    Note note_;
    ui::VirtualClock clock_;
    std::deque<std::string> saveAnswers_;
    std::deque<int> messageAnswers_;
    std::vector<MessageRecord> messages_;
    std::string pdfApplication_;
    std::string programDirectory_ = "/opt/kestrova";
    bool startSucceeds_ = true;
};

}  // namespace kestrova::headless

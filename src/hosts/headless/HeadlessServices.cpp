#include "HeadlessServices.h"

#include "tools/Vb.h"
#include "ui/Json.h"

namespace kestrova::headless {

namespace {

constexpr int kButtonMask = 7;
constexpr int kIconMask = 0x70;

// The answer a person reaching for the default button gives: OK or Yes, else the first one.
int DefaultAnswer(int style) {
    switch (style & kButtonMask) {
        case 2:
            return 3;  // Abort, Retry, Ignore
        case 3:        // Yes, No, Cancel
        case ui::msgbox::YesNo:
            return ui::msgbox::AnswerYes;
        case 5:
            return 4;  // Retry, Cancel
        default:
            return ui::msgbox::AnswerOk;
    }
}

constexpr const char* kAnswerNames[] = {"",      "OK",     "Cancel", "Abort",
                                        "Retry", "Ignore", "Yes",    "No"};

}  // namespace

const char* ButtonsName(int style) {
    switch (style & kButtonMask) {
        case 0:
            return "OK";
        case 1:
            return "OKCancel";
        case 2:
            return "AbortRetryIgnore";
        case 3:
            return "YesNoCancel";
        case 4:
            return "YesNo";
        case 5:
            return "RetryCancel";
        default:
            return "OK";
    }
}

const char* IconName(int style) {
    switch (style & kIconMask) {
        case ui::msgbox::Critical:
            return "Critical";
        case 32:
            return "Question";
        case ui::msgbox::Exclamation:
            return "Exclamation";
        case ui::msgbox::Information:
            return "Information";
        default:
            return "";
    }
}

const char* AnswerName(int answer) {
    return answer >= 1 && answer <= 7 ? kAnswerNames[answer] : "";
}

int AnswerNumber(const std::string& name) {
    for (int i = 1; i <= 7; ++i)
        if (IEquals(name, kAnswerNames[i])) return i;
    return 0;
}

std::string MessageJson(const MessageRecord& m) {
    return "{\"text\":" + ui::JsonString(m.Text) + ",\"title\":" + ui::JsonString(m.Title) +
           ",\"buttons\":" + ui::JsonString(ButtonsName(m.Style)) +
           ",\"icon\":" + ui::JsonString(IconName(m.Style)) +
           ",\"answer\":" + ui::JsonString(AnswerName(m.Answer)) + "}";
}

HeadlessServices::HeadlessServices(Inventory inventory, Note note)
    : inventory_(std::move(inventory)), note_(std::move(note)) {}

int HeadlessServices::MsgBox(const std::string& text, int style, const std::string& title) {
    int answer = DefaultAnswer(style);
    if (!messageAnswers_.empty()) {
        answer = messageAnswers_.front();
        messageAnswers_.pop_front();
    }
    messages_.push_back({text, title, style, answer});
    return answer;
}

std::string HeadlessServices::ShowSave(const std::string& filter, const std::string& defaultName) {
    if (saveAnswers_.empty()) {
        note_("note: save dialog (" + filter + ", " + defaultName +
              ") answered cancel; no answer-save was given");
        return {};
    }
    std::string answer = std::move(saveAnswers_.front());
    saveAnswers_.pop_front();
    return answer;
}

std::string HeadlessServices::OpenCommand(const std::string& extension) {
    return IEquals(extension, ".pdf") ? pdfApplication_ : std::string{};
}

bool HeadlessServices::StartDocument(const std::string& application, const std::string& document) {
    note_("started " + application + " " + document + (startSucceeds_ ? "" : " (failed)"));
    return startSucceeds_;
}

std::vector<MessageRecord> HeadlessServices::TakeMessages() {
    std::vector<MessageRecord> taken;
    taken.swap(messages_);
    return taken;
}

}  // namespace kestrova::headless

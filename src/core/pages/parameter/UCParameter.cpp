#include "pages/parameter/UCParameter.h"

#include "link/ClsGUI.h"
#include "link/EventCatalogue.h"
#include "pages/common/PanelSupport.h"
#include "tools/TextHelpers.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

const LabelText kLabels[] = {
    {"PARAFrame1", "Parameter data", "Parameterdaten"},
    {"PARAHead1", "Index", "Index"},
    {"PARAHead2", "Subindex", "Subindex"},
    {"PARAHead3", "Display", "Anzeige"},
    {"PARAOpt1", "binary", "binär"},
    {"PARAOpt2", "hex", "hex"},
    {"PARAOpt3", "decimal", "dezimal"},
    {"PARAOpt4", "asc", "ascii"},
    {"PARABtRead", "Read", "Lesen"},
    {"PARABtWrite", "Write", "Schreiben"},
    {"PARAError", "Error", "Fehler"},
    {"PARAErrFormat", "Index or Subindex format error", "Index oder SubIndex falsch"},
    {"PARAErrData", "no data for writing entered", "keine Daten zum Schreiben vorhanden"},
    {"PARAErrNotReady", "Device not ready for parameter access",
     "Gerät nicht bereit für Parameterzugriff"},
};

// Captions of the format buttons by index (the keys run the other way round, ascii last).
const char* const kOptionKeys[] = {"PARAOpt3", "PARAOpt2", "PARAOpt1", "PARAOpt4"};

const char* const kEntryBoxes[] = {"TextWr", "TextRdIndex", "TextRdSubIndex", "TextWrIndex",
                                   "TextWrSubIndex"};

// The result code of a parameter access on a device that is not ready for it.
constexpr int32_t kNotReady = -1;

// Parses an entry in form; a text the parser rejects (or that is too long) answers false.
bool TryParse(std::string_view text, int form, Values& bytes) {
    bytes.clear();
    int16_t count = 0;
    bool ok = false;
    pages::TryStep([&] {
        ok = ParseBytes(text, form, 1, bytes, count, false, UCParameter::kMaxBytes) == kParseOk;
    });
    if (!ok) bytes.clear();
    return ok;
}

}  // namespace

UCParameter::UCParameter(ui::Services& /*services*/, std::string name)
    : ui::UserControl(std::move(name)) {
    using ui::Kind;
    Move(0, 0, 3640, kHeight);

    AddAt(Kind::Frame, "Frame1", 0, 0, 3640, kHeight, "Parameter data");

    // Index, subindex and button on one line, the data below it; reading above writing. The
    // read data holds three lines, so a 22-byte answer shows whole in decimal; longer forms
    // scroll and tell the whole text as a tooltip.
    AddAt(Kind::Label, "Label4", 120, 210, 735, 240, "Index");
    AddAt(Kind::Label, "Label3", 900, 210, 735, 240, "Subindex");
    AddAt(Kind::TextBox, "TextRdIndex", 120, 465, 735, 285);
    AddAt(Kind::TextBox, "TextRdSubIndex", 900, 465, 735, 285);
    auto& read = AddAt(Kind::CommandButton, "Command1", 1680, 450, 1035, 345, "Read");
    auto& result = AddAt(Kind::TextBox, "TextRd", 120, 810, 3400, 705);
    result.SetMultiLine(true);
    result.SetLocked(true);

    AddAt(Kind::TextBox, "TextWrIndex", 120, 1575, 735, 285);
    AddAt(Kind::TextBox, "TextWrSubIndex", 900, 1575, 735, 285);
    auto& write = AddAt(Kind::CommandButton, "Command2", 1680, 1560, 1035, 345, "Write");
    // The entry holds three lines like the read data, but one value: Enter and Ctrl+Enter would
    // break the line, so they are dropped.
    auto& entry = AddAt(Kind::TextBox, "TextWr", 120, 1950, 3400, 705);
    entry.SetMultiLine(true);
    entry.KeyPress = [](int16_t& key) {
        if (key == 13 || key == 10) key = 0;
    };

    // The display forms get a line of their own: the German captions need the whole width.
    AddAt(Kind::Label, "Label8", 120, 2685, 1500, 240, "Display");
    const char* const optionCaptions[] = {"decimal", "hex", "binary", "asc"};
    const int32_t optionLeft[] = {120, 1035, 1665, 2475};
    const int32_t optionWidth[] = {885, 600, 780, 645};
    for (int i = 0; i < 4; ++i) {
        auto& option = Add<ui::Control>(Kind::OptionButton, "Option1", i);
        option.Move(optionLeft[i], 2925, optionWidth[i], 255);
        option.SetCaption(optionCaptions[i]);
    }
    C("Option1", 0).SetValue(1);
    lastFormat_ = Format();

    // Error texts of the master can be long: two lines.
    AddAt(Kind::Label, "Label2", 120, 3225, 615, 240, "Error");
    AddAt(Kind::Label, "LabelError", 750, 3225, 2770, 480);

    read.Click = [this] { RaiseRequest(kReasonRead); };
    write.Click = [this] { RaiseRequest(kReasonWrite); };
    for (int i = 0; i < 4; ++i) C("Option1", i).Click = [this] { FormatClick(); };
}

void UCParameter::OnShow() {
    lastFormat_ = Format();
}

int UCParameter::Format() const {
    for (int i = 0; i < 4; ++i)
        if (C("Option1", i).Value()) return i;
    return kDecimal;
}

void UCParameter::RaiseRequest(int16_t reason) {
    if (ChangeTimer) ChangeTimer(true, reason);
}

void UCParameter::Enable(bool enabled) {
    for (const char* name : kEntryBoxes) C(name).SetLocked(!enabled);
    C("TextRd").SetLocked(true);
    C("Command1").SetEnabled(enabled);
    C("Command2").SetEnabled(enabled);
    for (int i = 0; i < 4; ++i) C("Option1", i).SetEnabled(enabled);
}

void UCParameter::FormatClick() {
    const int format = Format();
    const std::string& entry = C("TextWr").Text();
    Values bytes;
    if (format != kCharacters && TryParse(entry, format, bytes)) {
        lastEdit_ = bytes;
    } else {
        // Keep as much of a half-typed entry as the previous format can read.
        lastEdit_ = ParseReadablePart(entry, lastFormat_, kMaxBytes);
    }
    lastFormat_ = format;
    RaiseRequest(kReasonFormat);
}

void UCParameter::ShowResult(const std::string& text) {
    C("LabelError").SetCaption(CaptionText(text));
}

std::string UCParameter::ErrorText(int32_t code, int kind) const {
    if (code == kNotReady) return gui_->GetUILabel("PARAErrNotReady");
    return FormatHex(code, 4, "0x", true) + ": " + IolErrorText(kind, code, 0, *gui_);
}

bool UCParameter::ReadAddress(const char* indexBox, const char* subIndexBox, int16_t& index,
                              int16_t& subIndex) {
    int32_t i = 0, s = 0;
    if (!ParseIndex(C(indexBox).Text(), kMaxIndex, i) ||
        !ParseIndex(C(subIndexBox).Text(), kMaxSubIndex, s)) {
        ShowResult(gui_->GetUILabel("PARAErrFormat"));
        return false;
    }
    index = static_cast<int16_t>(i);
    subIndex = static_cast<int16_t>(s);
    return true;
}

void UCParameter::Read() {
    int16_t index = 0, subIndex = 0;
    if (!ReadAddress("TextRdIndex", "TextRdSubIndex", index, subIndex)) return;
    Values data;
    const int32_t result = gui_->Device.ReadParameter(index, subIndex, data);
    lastRead_ = data;
    readError_ = result != 0;
    if (readError_) {
        ShowResult(ErrorText(result, 4));  // TextRd keeps what the last good read showed
        return;
    }
    C("TextRd").SetText(data.empty() ? std::string() : FormatBytes(data, Format(), "0x"));
    ShowResult("ok");
}

void UCParameter::Write() {
    int16_t index = 0, subIndex = 0;
    if (!ReadAddress("TextWrIndex", "TextWrSubIndex", index, subIndex)) return;
    Values bytes;
    if (!TryParse(C("TextWr").Text(), Format(), bytes) || bytes.empty()) {
        ShowResult(gui_->GetUILabel("PARAErrData"));
        return;
    }
    const int32_t result = gui_->Device.WriteParameter(index, subIndex, bytes);
    ShowResult(result == 0 ? std::string("ok") : ErrorText(result, 5));
}

void UCParameter::ExecuteReason(int16_t reason) {
    if (!gui_) return;
    gui_->SetUILabels(kLabels);  // the messages below are looked up by key
    try {
        switch (reason) {
            case kReasonFormat:
                if (!lastRead_.empty() && !readError_)
                    C("TextRd").SetText(FormatBytes(lastRead_, Format(), "0x"));
                if (!lastEdit_.empty()) C("TextWr").SetText(FormatBytes(lastEdit_, Format(), "0x"));
                break;
            case kReasonRead:
                Read();
                break;
            case kReasonWrite:
                Write();
                break;
            default:
                break;
        }
    } catch (const std::exception& e) {
        // The business object failed or answered garbage: say so where the result goes.
        if (reason == kReasonRead) readError_ = true;
        ShowResult(e.what());
    }
}

void UCParameter::SetLanguage() {
    if (!gui_) return;
    gui_->SetUILabels(kLabels);
    auto label = [this](const char* key) { return gui_->GetUILabel(key); };
    C("Frame1").SetCaption(label("PARAFrame1"));
    C("Label4").SetCaption(label("PARAHead1"));
    C("Label3").SetCaption(label("PARAHead2"));
    C("Label8").SetCaption(label("PARAHead3"));
    for (int i = 0; i < 4; ++i) C("Option1", i).SetCaption(label(kOptionKeys[i]));
    C("Command1").SetCaption(label("PARABtRead"));
    C("Command2").SetCaption(label("PARABtWrite"));
    C("Label2").SetCaption(label("PARAError"));
}

}  // namespace kestrova

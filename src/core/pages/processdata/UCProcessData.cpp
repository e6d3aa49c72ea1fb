#include "pages/processdata/UCProcessData.h"

#include "link/ClsGUI.h"
#include "pages/common/PanelSupport.h"
#include "tools/NumberFormats.h"
#include "tools/TextHelpers.h"

namespace kestrova {

namespace {

const LabelText kLabels[] = {
    {"PROCFrame1", "Process data", "Prozessdaten"},
    {"PROCBTRead", "Read", "Lesen"},
    {"PROCBTWrite", "Write", "Schreiben"},
    {"PROCDisplay", "Display", "Anzeige"},
    {"PROCOpt1", "binary", "binär"},
    {"PROCOpt2", "hex", "hex"},
    {"PROCOpt3", "decimal", "dezimal"},
    {"PROCInputs", "Input data", "Eingabedaten"},
    {"PROCOutputs", "Output data", "Ausgabedaten"},
    {"PROCValid", "valid", "gültig"},
    {"PROCOutputText", "New outputs", "Neue Ausgabe"},
    {"DATACheckUpdate", "Auto update", "Automatische Aktualisierung"},
};

// Captions of the format buttons by index: the keys run the other way round.
const char* const kOptionKeys[] = {"PROCOpt3", "PROCOpt2", "PROCOpt1"};

}  // namespace

UCProcessData::UCProcessData(ui::Services& services, std::string name)
    : ui::UserControl(std::move(name)), services_(services) {
    using ui::Kind;
    Move(0, 0, 3640, kHeight);

    AddAt(Kind::Frame, "Frame1", 0, 0, 3640, kHeight, "Process data");

    // Captions in the left column, a little lower than the entry beside them.
    auto label = [this](const char* name, const char* caption, int32_t top) {
        AddAt(Kind::Label, name, 120, top + 30, 1095, 255, caption);
    };
    // The data fields hold two lines, so four bytes show whole in every form (binary the
    // widest); longer images scroll and tell the whole text as a tooltip.
    auto text = [this](const char* name, int32_t top, bool locked) -> ui::Control& {
        auto& t = AddAt(Kind::TextBox, name, 1260, top, 2260, 585);
        t.SetMultiLine(true);
        t.SetLocked(locked);
        return t;
    };

    label("Label8", "Display", 270);
    const char* const optionCaptions[] = {"decimal", "hex", "binary"};
    const int32_t optionLeft[] = {1230, 2145, 2760};
    const int32_t optionWidth[] = {885, 600, 780};
    for (int i = 0; i < 3; ++i) {
        auto& option = Add<ui::Control>(Kind::OptionButton, "OptionAnzeige", i);
        option.Move(optionLeft[i], 300, optionWidth[i], 255);
        option.SetCaption(optionCaptions[i]);
    }
    C("OptionAnzeige", 0).SetValue(1);

    label("Label1", "Input data", 630);
    text("TextInputs", 630, true);
    label("Label2", "Output data", 1290);
    text("TextReadOutputs", 1290, true);
    label("Label3", "", 1950);
    auto& outputs = text("TextOutputs", 1950, false);

    // "valid" sits in the caption column so that the German "Automatische Aktualisierung"
    // gets the whole width beside it.
    auto& valid = AddAt(Kind::CheckBox, "CheckValid", 120, 2625, 1095, 255, "valid");
    auto& autoUpdate =
        AddAt(Kind::CheckBox, "CheckAutoUpdate", 1260, 2625, 2320, 255, "Auto update");
    autoUpdate.SetValue(1);

    auto& read = AddAt(Kind::CommandButton, "BTRead", 1260, 2985, 1080, 375, "Read");
    auto& write = AddAt(Kind::CommandButton, "BTWrite", 2440, 2985, 1080, 375, "Write");

    // Wired after the design values are set, so building the panel raises nothing.
    for (int i = 0; i < 3; ++i)
        C("OptionAnzeige", i).Click = [this] {
            outputsChanged_ = true;
            redisplayOutputs_ = true;
            RaiseChangeTimer(true);
        };
    read.Click = [this] {
        outputsChanged_ = true;
        RaiseChangeTimer(true);
    };
    write.Click = [this] { WriteOutputs(); };
    // Enter writes; neither it nor Ctrl+Enter breaks the line of the two-line entry.
    outputs.KeyPress = [this](int16_t& key) {
        if (key == 10) key = 0;
        if (key != 13) return;
        key = 0;
        WriteOutputs();
    };
    valid.Click = [this] { ValidClick(); };
    autoUpdate.Click = [this] {
        autoUpdate_ = C("CheckAutoUpdate").Value() == 1;
        RaiseChangeTimer(true);
    };
}

int UCProcessData::Format() const {
    for (int i = 0; i < 3; ++i)
        if (C("OptionAnzeige", i).Value()) return i;
    return kDecimal;
}

void UCProcessData::RaiseChangeTimer(bool enable) {
    if (ChangeTimer) ChangeTimer(enable);
}

std::string UCProcessData::FormatOutputs() {
    int16_t count = gui_ ? gui_->Device.ByteOutputLength() : 0;
    return FormatBytes(gui_ ? gui_->Device.ProcessOutputs : Values{}, Format(), count, "0x", false);
}

void UCProcessData::ShowIfChanged(const char* name, const std::string& text) {
    auto& box = C(name);
    if (box.Text() != text) box.SetText(text);
}

void UCProcessData::Enable(int16_t state, bool readBlocked, bool writeAllowed, bool readAllowed) {
    const bool any = state != kNoData;
    const bool writable = state == kReadWrite && writeAllowed;
    const int16_t outLength = any && gui_ ? gui_->Device.ByteOutputLength() : 0;
    for (int i = 0; i < 3; ++i) C("OptionAnzeige", i).SetEnabled(any);
    C("TextInputs").SetEnabled(any && readAllowed);
    C("TextReadOutputs").SetEnabled(any && outLength > 0);
    C("TextOutputs").SetEnabled(writable);
    C("CheckValid").SetEnabled(writable);
    C("BTRead").SetEnabled(any && !readBlocked && readAllowed);
    C("BTWrite").SetEnabled(writable);
    C("CheckAutoUpdate").SetEnabled(any);
    lastEnable_ = state;

    if (!any) {
        ShowIfChanged("TextReadOutputs", "");
        ShowIfChanged("TextInputs", "");
        return;
    }
    const std::string outputs = FormatOutputs();
    ShowIfChanged("TextReadOutputs", outputs);
    C("TextOutputs").SetText(CaptionText(outputs));
    if (writeAllowed) outputsChanged_ = true;
}

int32_t UCProcessData::ActualizeProcessData(int16_t /*value*/) {
    if (!gui_) return 0;
    ClsDevice& device = gui_->Device;
    if (device.SensorState != SIO && device.SensorState != FOUND) {
        outputsChanged_ = false;
        return 0;
    }
    int32_t result = 0;
    if (writePending_) {
        // Sends the written outputs and fetches the inputs in one exchange.
        result = device.ExchangeProcessImage();
        writePending_ = false;
    } else {
        device.ReadProcessOutputs();
        result = device.ReadProcessImage();
    }
    const std::string outputs = FormatOutputs();
    if (redisplayOutputs_) {
        C("TextOutputs").SetText(outputs);
        redisplayOutputs_ = false;
    }
    ShowIfChanged("TextReadOutputs", outputs);
    if (result == 0) {
        int16_t count = device.ByteInputLength();
        ShowIfChanged("TextInputs",
                      FormatBytes(device.ProcessInputs, Format(), count, "0x", false));
    }
    outputsChanged_ = false;
    return result;
}

void UCProcessData::WriteOutputs() {
    if (gui_) {
        Values bytes;
        int16_t count = 0;
        bool parsed = false;
        // A text the parser rejects is not sent and stays as typed.
        pages::TryStep([&] {
            parsed = ParseBytes(C("TextOutputs").Text(), Format(), 1, bytes, count, false,
                                kMaxBytes) == kParseOk &&
                     count > 0;
        });
        if (parsed) {
            gui_->Device.SetOutputs(bytes);
            outputsChanged_ = true;
            writePending_ = true;
        }
    }
    RaiseChangeTimer(true);
}

void UCProcessData::ValidClick() {
    if (settingValid_) return;
    RaiseChangeTimer(false);
    pages::OnScopeExit restart([this] { RaiseChangeTimer(true); });
    if (!gui_) return;
    auto& valid = C("CheckValid");
    auto uncheck = [this, &valid] {
        settingValid_ = true;
        pages::OnScopeExit done([this] { settingValid_ = false; });
        valid.SetValue(0);
    };
    try {
        if (valid.Value() == 0)
            gui_->Device.SetOutputsValid(false);
        else if (gui_->Device.SetOutputsValid(true) != 0)
            uncheck();
    } catch (const std::exception& e) {
        if (valid.Value() != 0) uncheck();
        pages::ReportFailure(services_, valid.Caption(), e);
    }
}

void UCProcessData::SetLanguage() {
    if (!gui_) return;
    gui_->SetUILabels(kLabels);
    auto label = [this](const char* key) { return gui_->GetUILabel(key); };
    C("Frame1").SetCaption(label("PROCFrame1"));
    C("BTRead").SetCaption(label("PROCBTRead"));
    C("BTWrite").SetCaption(label("PROCBTWrite"));
    C("Label8").SetCaption(label("PROCDisplay"));
    for (int i = 0; i < 3; ++i) C("OptionAnzeige", i).SetCaption(label(kOptionKeys[i]));
    C("Label1").SetCaption(label("PROCInputs"));
    C("Label2").SetCaption(label("PROCOutputs"));
    C("Label3").SetCaption(label("PROCOutputText"));
    C("CheckValid").SetCaption(label("PROCValid"));
    C("CheckAutoUpdate").SetCaption(label("DATACheckUpdate"));
}

}  // namespace kestrova
